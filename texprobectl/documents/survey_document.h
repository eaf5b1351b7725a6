// The survey in a record set of a document, as written and read back.

#ifndef TEXPROBECTL_SURVEY_DOCUMENT_H
#define TEXPROBECTL_SURVEY_DOCUMENT_H

#include <ostream>

#include "documents/document.h"
#include "records/survey_set.h"

namespace texprobe::ctl {

/// The member "survey", behind those before it.
void write_survey(const Survey& survey, std::ostream& output);

/// The member "profile".
survey::Profile read_profile_name(const Json& object, const Expect& expect);

/// That of a record set; empty where it has none. Throws DocumentError.
Survey read_survey(const Json& set, const Expect& expect);

}  // namespace texprobe::ctl

#endif
