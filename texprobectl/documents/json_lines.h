// Shared by the documents' writers.

#ifndef TEXPROBECTL_JSON_LINES_H
#define TEXPROBECTL_JSON_LINES_H

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace texprobe::ctl {

/// Members stay in the order in which they are written.
using Json = nlohmann::ordered_json;

inline Json text_or_null(const std::optional<std::string>& text) {
    return text ? Json(*text) : Json(nullptr);
}

/// One line; bytes that are not UTF-8 are replaced.
inline std::string line_of(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace texprobe::ctl

#endif
