// The survey's records in the user's preferences. Those of a record set have an application
// identifier of their own, beside the tool's.

#ifndef TEXPROBECTL_SURVEY_STORE_H
#define TEXPROBECTL_SURVEY_STORE_H

#include <map>
#include <string>
#include <vector>

#include "records/survey_set.h"

namespace texprobe::ctl {

/// The application that has the survey of a record set.
std::string survey_of(const std::string& id);
/// The record set of such an application; empty for any other.
std::string set_of_survey(const std::string& application);

/// Every key that a survey may have.
std::vector<std::string> survey_keys();

/// The records as they are, by key.
using SurveyTexts = std::map<std::string, std::string>;
SurveyTexts read_survey_texts(const std::string& id);

Survey parse_survey(const SurveyTexts& texts);

}  // namespace texprobe::ctl

#endif
