// One question, asked once: what `texprobectl inspect` shows of the survey. No record is touched.

#ifndef TEXPROBE_SURVEY_TRIAL_H
#define TEXPROBE_SURVEY_TRIAL_H

#include "table/layout_table.h"

namespace texprobe::survey {

/// Writes the outcome as a line of a record; and where pixels were compared "texels", the width and
/// the number of components, and a line for each texel: is it wrong, the expected one, the one that
/// came. False where the renderer has no such context.
bool try_question(int rendererID, Profile profile, const Format& format, const Question& question);

}  // namespace texprobe::survey

#endif
