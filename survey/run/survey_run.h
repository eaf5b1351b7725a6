// A run of the survey: everything that is missing, under the measuring turn, one format at a time.

#ifndef TEXPROBE_SURVEY_RUN_H
#define TEXPROBE_SURVEY_RUN_H

#include <optional>

#include "table/promises.h"

namespace texprobe::survey {

/// What is asked for; everything, unless it is named.
struct Wish {
    std::optional<Profile> profile = std::nullopt;
    const Format* format = nullptr;
};

/// Surveys every renderer of every display. True if everything that was asked for is recorded.
bool run_survey(const Wish& wish);

}  // namespace texprobe::survey

#endif
