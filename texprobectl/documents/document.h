// The document of record sets, as exported and read back.

#ifndef TEXPROBECTL_DOCUMENT_H
#define TEXPROBECTL_DOCUMENT_H

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "documents/json_reader.h"
#include "records/record_set.h"

namespace texprobe::ctl {

struct Times;

inline constexpr const char* kRecordsSchema = "texprobe-records";

/// All sets of these files; "-" is standard input. Throws DocumentError.
RecordSets read_documents(const std::vector<std::string>& files);

// The pieces, for documents of other kinds.

/// The members of a set that say whose it is.
Json identification(const RecordSet& set);

/// One element of a document: throws DocumentError unless a value in it has the type; the error
/// says where, and what was expected.
class Expect {
public:
    Expect(std::string file, std::string path, const Json& element)
        : file_(std::move(file)), path_(std::move(path)), element_(element) {}

    [[noreturn]] void fail(const Json& value, const std::string& message) const;
    const Json& member(const Json& object, const char* name) const;
    const std::string& text(const Json& object, const char* name) const;
    std::optional<std::string> text_or_null(const Json& object, const char* name) const;
    bool boolean(const Json& object, const char* name) const;
    std::int64_t integer(const Json& object, const char* name, std::int64_t least,
                         std::int64_t most) const;
    std::uint64_t count(const Json& object, const char* name, std::uint64_t least,
                        std::uint64_t most) const;
    const Json& array(const Json& object, const char* name) const;
    /// The sixteen formats in the tool's order.
    const Json& formats(const Json& object) const;

private:
    const std::string file_;
    const std::string path_;
    const Json& element_;
};

/// Reads a document of one of several kinds: each names its schema and the member that holds its
/// elements, which are handed over one by one. read_document returns how many there were, which may
/// be none: a machine without records is no error of its document.
struct DocumentKind {
    const char* schema;
    const char* elements;
    std::function<void(const Json& element, const Expect& expect)> read;
    /// Another list, which may be missing, and whose elements are not counted.
    const char* more = nullptr;
    std::function<void(const Json& element, const Expect& expect)> readMore = {};
};
std::size_t read_document(const std::string& file, const std::vector<DocumentKind>& kinds);

RecordSet read_set(const Json& value, const Expect& expect);

/// Adds the transfers of a file to those of their record sets, and returns how many there were.
/// Throws DocumentError.
std::size_t read_times(const std::string& file, std::vector<Times>* all);

/// The member "software"; without it, as in older documents, what the renderer's name tells.
bool read_software(const Json& value, const std::optional<std::string>& renderer,
                   const Expect& expect);

}  // namespace texprobe::ctl

#endif
