// The record of one format in one profile, as text.
//
//   create yes
//   mipmap wrong: expected (0.5, 0, 0, 1) at 3, 4 of level 2, came (0.75, 0, 0, 1), although ...
//
//   upload GL_BGRA GL_UNSIGNED_BYTE yes
//
// One line a question, those without a layout first, with a reason where there is one. At the end
// comes the one that is under way, "started", or "started: again". The line "measuring" before them
// says that all the others are under way. Readers skip lines of uses and layouts that they do not
// know.

#ifndef TEXPROBE_SURVEY_RECORD_TEXT_H
#define TEXPROBE_SURVEY_RECORD_TEXT_H

#include <map>
#include <optional>
#include <string>

#include "table/layout_table.h"
#include "table/survey_verdicts.h"

namespace texprobe::survey {

/// A question that is being answered, or was when the process ended.
struct UnderWay {
    Question question;
    bool isAgain = false;  ///< For the second time, after an unexplained end.

    bool operator==(const UnderWay&) const = default;
};

struct FormatRecord {
    bool isMeasuring = false;  ///< Begun as a whole; the uses are not recorded one by one.
    std::map<Question, Judged> uses;
    std::optional<UnderWay> underWay = {};  ///< It has no verdict.

    bool operator==(const FormatRecord&) const = default;
};

std::string write_record(const FormatRecord& record);

/// Nothing for a text that is no record, such as a stranger's.
std::optional<FormatRecord> read_record(const std::string& text);

/// Has everything that is asked of the format in that profile a verdict?
bool is_complete(const Format& format, Profile profile, const FormatRecord& record);

/// The verdicts of a record whose process has ended for an unknown reason. A use that was under way
/// has none, because something else may have ended the process or kept it from recording the
/// outcome; one that was for the second time has crashed.
FormatRecord after_end(FormatRecord record);

/// The same after an end that is no fault of the driver's.
FormatRecord after_outside_end(FormatRecord record);

/// Recorded before the use is tried, where that record was left.
UnderWay begin_use(const FormatRecord& left, const Question& question);

}  // namespace texprobe::survey

#endif
