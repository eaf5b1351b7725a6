// Shared by the writers and readers of documents.

#ifndef TEXPROBECTL_JSON_LINES_H
#define TEXPROBECTL_JSON_LINES_H

#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <string>

namespace texprobe::ctl {

/// The version that is written. A document of an earlier version is read, too: it only lacks what
/// came later.
inline constexpr int kSchemaVersion = 2;

/// Members stay in the order in which they are written.
using Json = nlohmann::ordered_json;

inline Json text_or_null(const std::optional<std::string>& text) {
    return text ? Json(*text) : Json(nullptr);
}
/// For those that are empty where nothing is known.
inline Json known_or_null(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

/// A list of `describe`'s result for each.
template <class Values, class Describe>
Json list_of(const Values& values, Describe describe) {
    Json list = Json::array();
    for (const auto& value : values) list.push_back(describe(value));
    return list;
}

inline Json begin_document(const char* schema) {
    return {{"schema", schema}, {"schema_version", kSchemaVersion}};
}

/// One line, or lines of this indent. Bytes that are not UTF-8 are replaced.
inline std::string dumped(const Json& value, int indent = -1) {
    return value.dump(indent, ' ', false, Json::error_handler_t::replace);
}

inline void write_whole(const Json& document, std::ostream& output) {
    output << dumped(document, 2) << '\n';
}

// Documents in which a person finds something, and diff(1) the differences.

/// The members of an object below one another, behind `indent`, which begins with a line's end; a
/// list's elements likewise, of which only those of "profiles" have more than one line.
std::string lines_of(const Json& value, const std::string& indent, bool isOfProfiles = false);

/// Writes the document of these members and a list of objects, which are made one by one: they may
/// be many.
template <class Values, class Describe>
void write_lines(const Json& members, const char* list, const Values& values, Describe describe,
                 std::ostream& output) {
    const std::string begin = lines_of(members, "\n");
    output << begin.substr(0, begin.rfind('\n')) << ",\n  \"" << list << "\": [";
    const char* between = "\n    ";
    for (const auto& value : values) {
        output << between << lines_of(describe(value), "\n    ");
        between = ",\n    ";
    }
    output << (values.empty() ? "]\n}\n" : "\n  ]\n}\n");
}

}  // namespace texprobe::ctl

#endif
