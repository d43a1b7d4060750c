#include "codec/filter_resources.h"

#include <json/json.h>

#include <exception>
#include <memory>

#include "base/log.h"

namespace vexo {
namespace {

constexpr int kLastFilmStyle = 1000;

Json::Value parse(const std::string &json) {
    Json::Value list;
    std::string fault;
    try {
        const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
        if (reader->parse(json.data(), json.data() + json.size(), &list, &fault) && list.isArray()) return list;
    } catch (const std::exception &error) {  // too deeply nested
        fault = error.what();
    }
    VEXO_PRINT(LOG_ERROR, "the filter resources are no JSON array: %s", fault.c_str());
    return Json::Value(Json::arrayValue);
}

template <typename Fits> std::string firstUrl(const std::string &json, const Fits &fits) {
    if (json.empty()) return {};
    for (const Json::Value &entry : parse(json)) {
        if (!entry.isObject()) continue;
        const Json::Value &id = entry["id"];
        const Json::Value &url = entry["url"];
        if (id.isInt() && url.isString() && fits(id.asInt())) return url.asString();
    }
    return {};
}

}  // namespace

std::string findFilmStyle(const std::string &json, int style) {
    return firstUrl(json, [=](int id) { return id >= 1 && id <= kLastFilmStyle && id == style; });
}

std::string findColorConversion(const std::string &json) {
    return firstUrl(json, [](int id) { return id > kLastFilmStyle; });
}

}  // namespace vexo
