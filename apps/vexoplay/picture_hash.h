#pragma once

#include <memory>
#include <string>

#include "i420_view.h"

struct evp_md_ctx_st;

namespace vexoplay {

/// MD5 over the I420 bytes of pictures, rows without padding.
/// Threads:  one at a time.
class PictureHash {
public:
    PictureHash();
    ~PictureHash();
    void add(const I420View &picture);
    /// The sum so far as 32 hexadecimal digits; the next picture begins a new one.
    std::string finish();

private:
    void begin();

    struct Free {
        void operator()(evp_md_ctx_st *context) const;
    };
    std::unique_ptr<evp_md_ctx_st, Free> context_;
};

}  // namespace vexoplay
