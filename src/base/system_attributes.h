#pragma once

#include <array>
#include <cstdint>
#include <memory>

namespace vexo {

/// Seven words that describe a platform; a platform that has nothing to say leaves them zero.
using SystemAttributeWords = std::array<uint32_t, 7>;

class SystemAttributes {
public:
    virtual ~SystemAttributes() = default;
    virtual SystemAttributeWords GetAttributes() = 0;
};

class SystemAttributesWin : public SystemAttributes {
public:
    SystemAttributeWords GetAttributes() override { return {}; }
};

inline std::shared_ptr<SystemAttributes> CreateSystemAttributes() {
    return std::make_shared<SystemAttributesWin>();
}

}  // namespace vexo
