// Formats and capabilities as users name them.

#ifndef TEXPROBECTL_CELL_NAMES_H
#define TEXPROBECTL_CELL_NAMES_H

#include <string>

#include "records/cells.h"
#include "records/survey_set.h"

namespace texprobe::ctl {

/// By its name in any case; GL_ and _ARB may be left out. Throws UsageError.
std::size_t find_format(const std::string& name);

/// By the name of its column, or by its words, joined in any way: "set", "upload set",
/// "UPLOAD_SET". Throws UsageError.
Capability find_capability(const std::string& name);

/// Of the survey, by their own names; empty ones choose nothing. Throws UsageError.
SurveyChoice find_choice(const std::string& profile, const std::string& format);

}  // namespace texprobe::ctl

#endif
