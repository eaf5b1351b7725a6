// texprobe-survey: what the formats of today can do in each kind of context.

#include <cstdio>
#include <string>

#include <runs/interruption.h>
#include <runs/measuring_turn.h>
#include "run/survey_run.h"

namespace {

using namespace texprobe::survey;

int fail_with_usage(const std::string& reason) {
    if (!reason.empty()) std::fprintf(stderr, "*** %s\n", reason.c_str());
    std::fputs("Usage: texprobe-survey [--profile compatibility|core|es] [--format GL_NAME]\n",
               stderr);
    return 1;
}

bool set_profile(const std::string& name, Wish* wish) {
    for (const Profile profile : kProfiles) {
        if (name == name_of(profile)) wish->profile = profile;
    }
    return wish->profile.has_value();
}

}  // namespace

int main(int argc, char** argv) {
    Wish wish;
    for (int i = 1; i < argc; i += 2) {
        const std::string option = argv[i];
        const std::string value = i + 1 < argc ? argv[i + 1] : "";
        if (option == "--profile" && !wish.profile) {
            if (!set_profile(value, &wish)) return fail_with_usage("no profile: " + value);
        } else if (option == "--format" && !wish.format) {
            wish.format = find_format(value);
            if (!wish.format) return fail_with_usage("no format of the survey: " + value);
        } else {
            return fail_with_usage("");
        }
    }
    texprobe::survive_closed_outputs();
    texprobe::remember_interruptions(texprobe::is_turn_lost);
    return run_survey(wish) ? 0 : 1;
}
