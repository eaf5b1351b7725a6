#include "run/trial.h"

#include <cstdio>

#include "opengl/judge.h"
#include "uses/uses.h"

namespace texprobe::survey {

bool try_question(int rendererID, Profile profile, const Format& format, const Question& question) {
    const ProfileContext offscreen(rendererID, profile);
    if (!offscreen.is_current()) {
        std::fprintf(stderr, "*** the renderer offers no such context\n");
        return false;
    }
    const SurveyContext context = describe_current_context(profile);
    const Judge judge(context);
    const Work work(context, judge, format);
    FormatRecord needed;
    for (const Use use : {Use::kCreate, Use::kCreateStorage}) {
        if (has_question(format, use, profile)) needed.uses[use] = answer(work, use, needed).judged;
    }
    SeenTexels seen;
    seenTexels = &seen;
    FormatRecord record;
    record.uses[question] = answer(work, question, needed).judged;
    seenTexels = nullptr;
    std::fputs(write_record(record).c_str(), stdout);
    if (seen.pairs.empty()) return true;
    std::printf("texels %d %zu\n", seen.width, seen.components);
    for (const auto& [expected, came, isWrong] : seen.pairs) {
        std::printf("%d", isWrong);
        // Enough digits for any value.
        for (const double value : expected) std::printf(" %.17g", value);
        for (const double value : came) std::printf(" %.17g", value);
        std::printf("\n");
    }
    return true;
}

}  // namespace texprobe::survey
