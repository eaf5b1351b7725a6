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

/// One part of a document, and where it stands.
struct ReadElement {
    std::string file;
    std::string path;
    const Json& value;
};

/// A value in it: throws DocumentError unless a member has the type; the error says where, and what
/// was expected.
class Element {
public:
    explicit Element(const ReadElement& root) : Element(root, root.value) {}

    const Json& json() const { return *value_; }
    bool contains(const char* name) const { return value_->contains(name); }
    [[noreturn]] void fail(const std::string& message) const;
    /// Fails at a text, which the complaint has for {0}, and the member's name for {1}.
    [[noreturn]] void refuse(const char* name, const char* complaint) const;

    Element member(const char* name) const;
    const std::string& text(const char* name) const;
    std::optional<std::string> text_or_null(const char* name) const;
    bool boolean(const char* name) const;
    /// Of the type of `most`.
    template <class Number>
    Number integer(const char* name, std::int64_t least, Number most) const {
        return static_cast<Number>(whole_number(name, least, static_cast<std::int64_t>(most)));
    }
    /// `find`'s result for a text; refuses a text for which it has none.
    template <class Find>
    auto known(const char* name, Find find, const char* complaint) const {
        const auto found = find(text(name));
        if (!found) refuse(name, complaint);
        return *found;
    }
    std::vector<Element> list(const char* name) const;
    /// The sixteen formats in the tool's order.
    std::vector<Element> formats() const;

private:
    Element(const ReadElement& root, const Json& value) : root_(&root), value_(&value) {}
    std::int64_t whole_number(const char* name, std::int64_t least, std::int64_t most) const;

    const ReadElement* root_;
    const Json* value_;
};

/// Reads a document of one of several kinds: each names its schema and the member that holds its
/// elements, which are handed over one by one. read_document returns how many there were, which may
/// be none: a machine without records is no error of its document.
struct DocumentKind {
    const char* schema;
    const char* elements;
    std::function<void(const Element& element)> read;
    /// Another list, which may be missing, and whose elements are not counted.
    const char* more = nullptr;
    std::function<void(const Element& element)> readMore = {};
};
std::size_t read_document(const std::string& file, const std::vector<DocumentKind>& kinds);

RecordSet read_set(const Element& value);

/// The members "name" and "capability".
Cell read_cell(const Element& object);

/// The member "survey" of a record set; empty where it has none.
Json describe_survey(const Survey& survey);
Survey read_survey(const Element& set);

/// The member "profile".
survey::Profile read_profile_name(const Element& object);

/// Adds one driver's counts. Throws DocumentError for counts that no sets can have.
void read_merged(const Element& value, Merged* merged);

/// Adds a statement about some machines as a whole.
void read_state(const Element& value, Merged* merged);

/// Adds the transfers of a file to those of their record sets, and returns how many there were.
/// Throws DocumentError.
std::size_t read_times(const std::string& file, std::vector<Times>* all);

/// The member "software"; without it, as in older documents, the renderer's name tells.
bool read_software(const Element& value, const std::optional<std::string>& renderer);

}  // namespace texprobe::ctl

#endif
