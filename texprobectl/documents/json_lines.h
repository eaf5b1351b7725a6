// Shared by the writers and readers of documents.

#ifndef TEXPROBECTL_JSON_LINES_H
#define TEXPROBECTL_JSON_LINES_H

#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace texprobe::ctl {

/// The version that is written. A document of an earlier version is read, too: it only lacks what
/// came later.
inline constexpr int kSchemaVersion = 2;

/// Members stay in the order in which they are written.
using Json = nlohmann::ordered_json;

inline Json text_or_null(const std::optional<std::string>& text) {
    return text ? Json(*text) : Json(nullptr);
}

inline Json begin_document(const char* schema) {
    return {{"schema", schema}, {"schema_version", kSchemaVersion}};
}

/// Bytes that are not UTF-8 are replaced.
inline void write_whole(const Json& document, std::ostream& stream) {
    stream << document.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

/// One line; bytes that are not UTF-8 are replaced.
inline std::string line_of(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// A document that is written piece by piece, so that a person can read it, and diff(1) shows the
// differences.

inline void begin_lines(const char* schema, std::ostream& output) {
    output << "{\n  \"schema\": \"" << schema << "\",\n  \"schema_version\": " << kSchemaVersion
           << ",\n";
}

/// The members of an object, one a line, behind this indent and each with a comma.
inline void write_members(const Json& object, const char* indent, std::ostream& output) {
    for (const auto& [name, value] : object.items()) {
        output << indent << '"' << name << "\": " << line_of(value) << ",\n";
    }
}

/// A member that is a list, with a value a line, behind this indent.
inline void write_lines(const char* name, const std::vector<Json>& values, const char* indent,
                        std::ostream& output) {
    output << indent << '"' << name << "\": [";
    const char* between = "\n";
    for (const Json& value : values) {
        output << between << indent << "  " << line_of(value);
        between = ",\n";
    }
    if (!values.empty()) output << '\n' << indent;
    output << ']';
}

}  // namespace texprobe::ctl

#endif
