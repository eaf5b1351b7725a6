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

class Merged;
struct Times;

inline constexpr const char* kRecordsSchema = "texprobe-records";
inline constexpr const char* kMergedSchema = "texprobe-merged";

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
    /// Of the type of `most`.
    template <class Number>
    Number integer(const Json& object, const char* name, std::int64_t least, Number most) const {
        return static_cast<Number>(
            whole_number(object, name, least, static_cast<std::int64_t>(most)));
    }
    const Json& array(const Json& object, const char* name) const;
    /// What `find` has for a text; where it has nothing, fails with the complaint.
    template <class Find>
    auto known(const Json& object, const char* name, Find find, const char* complaint) const {
        const auto found = find(text(object, name));
        if (!found) refuse(object, name, complaint);
        return *found;
    }
    /// Fails at a text, which the complaint has for {0}, and the member's name for {1}.
    [[noreturn]] void refuse(const Json& object, const char* name, const char* complaint) const;
    /// The sixteen formats in the tool's order.
    const Json& formats(const Json& object) const;

private:
    std::int64_t whole_number(const Json& object, const char* name, std::int64_t least,
                              std::int64_t most) const;

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

/// The member "survey" of a record set; empty where it has none.
Json describe_survey(const Survey& survey);
Survey read_survey(const Json& set, const Expect& expect);

/// The member "profile".
survey::Profile read_profile_name(const Json& object, const Expect& expect);

/// Adds one driver's counts. Throws DocumentError for counts that no sets can have.
void read_merged(const Json& value, const Expect& expect, Merged* merged);

/// Adds what is said of some machines as a whole.
void read_state(const Json& value, const Expect& expect, Merged* merged);

/// Adds the transfers of a file to those of their record sets, and returns how many there were.
/// Throws DocumentError.
std::size_t read_times(const std::string& file, std::vector<Times>* all);

/// The member "software"; without it, as in older documents, what the renderer's name tells.
bool read_software(const Json& value, const std::optional<std::string>& renderer,
                   const Expect& expect);

}  // namespace texprobe::ctl

#endif
