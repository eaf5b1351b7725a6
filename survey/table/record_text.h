// The record of one format in one profile, as text.
//
//   create yes
//   mipmap wrong: expected (0.5, 0, 0, 1) at 3, 4 of level 2, came (0.75, 0, 0, 1), although ...
//
// One line a use, in their order, with a reason where there is one. A use that is under way is
// "started", or "started: again". The line "measuring" alone says that all uses are under way.
// Readers skip lines of uses that they do not know.

#ifndef TEXPROBE_SURVEY_RECORD_TEXT_H
#define TEXPROBE_SURVEY_RECORD_TEXT_H

#include <map>
#include <optional>
#include <string>

#include "table/format_table.h"
#include "table/survey_verdicts.h"

namespace texprobe::survey {

struct FormatRecord {
    bool isMeasuring = false;  ///< Begun as a whole; the uses are not recorded one by one.
    std::map<Use, Judged> uses;

    bool operator==(const FormatRecord&) const = default;
};

std::string write_record(const FormatRecord& record);

/// Nothing for a text that is no record, such as a stranger's.
std::optional<FormatRecord> read_record(const std::string& text);

/// Has every use of the format a verdict?
bool is_complete(const Format& format, const FormatRecord& record);

/// The verdicts of a record whose process has ended, nobody knows why. A use that was under way has
/// none, because something else may have ended the process or kept it from recording the outcome;
/// one that was for the second time has crashed.
FormatRecord after_end(FormatRecord record);

/// The same after an end that is no fault of the driver's.
FormatRecord after_outside_end(FormatRecord record);

/// What is recorded before the use is tried, where that record was left.
Judged begin_use(const FormatRecord& left, Use use);

}  // namespace texprobe::survey

#endif
