// The meaning of an argument. A record set: an identifier, a part of one, the number that `list`
// shows, or an exported file. A format or a capability: its name, as users write it.

#ifndef TEXPROBECTL_SELECTION_H
#define TEXPROBECTL_SELECTION_H

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "records/catalogue.h"
#include "records/cells.h"
#include "records/survey_set.h"

namespace texprobe::ctl {

/// The user's request cannot be met; the text is one line for the user.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The one set that `text` names: digits alone are a place in the list, or a whole component of an
/// identifier; the domain, which all have, names none. Throws UsageError when there is none, or
/// more than one.
const RecordSet& find_set(const std::string& text, const RecordSets& all);

/// The sets that these texts name, each once.
RecordSets find_sets(const std::vector<std::string>& texts, const RecordSets& all);

/// A file's name or "-", and no number.
bool is_document(const std::string& text);

/// This user's record sets, read when they are first needed: files need no store.
class KnownSets {
public:
    explicit KnownSets(std::function<RecordSets()> read) : read_(std::move(read)) {}

    const RecordSets& all();
    /// The sets of an exported file when `text` names a file and is no number, or can only be a
    /// file's name; else the one set that it names.
    RecordSets find_or_read(const std::string& text);

private:
    std::function<RecordSets()> read_;
    std::optional<RecordSets> all_;
};

/// Those of this machine's renderers and present build.
RecordSets present_sets(RecordSets all);

/// The measured set of this machine's present build, or the surveyed one. Throws UsageError if
/// there is none, or more than one.
const RecordSet& only_present_set(const RecordSets& all, bool isSurveyed = false);

// Formats and capabilities.

/// By its name in any case; GL_ and _ARB may be left out. Throws UsageError.
std::size_t find_format(const std::string& name);

/// By the name of its column, or by its words, joined in any way: "set", "upload set",
/// "UPLOAD_SET". Throws UsageError.
Capability find_capability(const std::string& name);

/// Of the survey, by their own names; empty ones choose nothing. Throws UsageError.
SurveyChoice find_choice(const std::string& profile, const std::string& format);

}  // namespace texprobe::ctl

#endif
