// The document of record sets, as exported and read back.

#ifndef TEXPROBECTL_DOCUMENT_H
#define TEXPROBECTL_DOCUMENT_H

#include <functional>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "documents/json_values.h"
#include "records/record_set.h"

namespace texprobe::ctl {

inline constexpr const char* kRecordsSchema = "texprobe-records";
inline constexpr int kSchemaVersion = 1;

/// All sets of these files; "-" is standard input. Throws DocumentError.
RecordSets read_documents(const std::vector<std::string>& files);

// The pieces, for documents of other kinds.

/// The members of a set that say whose it is.
nlohmann::ordered_json identification(const RecordSet& set);

/// Throws DocumentError unless the value has the type; the error says where, and what was expected.
class Expect {
public:
    explicit Expect(std::string file) : file_(std::move(file)) {}

    const std::string& file() const { return file_; }
    [[noreturn]] void fail(const JsonValue& value, const std::string& message) const;
    const JsonValue& member(const JsonValue& object, const char* name) const;
    const std::string& text(const JsonValue& object, const char* name) const;
    std::optional<std::string> text_or_null(const JsonValue& object, const char* name) const;
    bool boolean(const JsonValue& object, const char* name) const;
    std::int64_t integer(const JsonValue& object, const char* name, std::int64_t least,
                         std::int64_t most) const;
    const JsonValue::Array& array(const JsonValue& object, const char* name) const;
    /// The sixteen formats in the tool's order.
    const JsonValue::Array& formats(const JsonValue& object) const;

private:
    std::string file_;
};

/// Reads a document of one of several kinds: each names its schema and the member that holds its
/// elements, which are handed over one by one. read_document returns how many there were, which may
/// be none: a machine without records is no error of its document.
struct Kind {
    const char* schema;
    const char* elements;
    std::function<void(const JsonValue& element, const Expect& expect)> read;
};
std::size_t read_document(const std::string& file, const std::vector<Kind>& kinds);

RecordSet read_set(const JsonValue& value, const Expect& expect);

}  // namespace texprobe::ctl

#endif
