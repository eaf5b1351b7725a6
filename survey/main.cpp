// texprobe-survey: what the formats of today can do in each kind of context. It surveys whatever
// has no record, on every renderer of every display, under the measuring turn, one format at a
// time.

#include <ApplicationServices/ApplicationServices.h>
#include <OpenGL/OpenGL.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include <runs/interruption.h>
#include <runs/measuring_turn.h>
#include "run/profile_survey.h"
#include "run/trial.h"

namespace {

using namespace texprobe::survey;

/// The arguments.
struct SurveyWish {
    std::vector<Profile> profiles = {kProfiles.begin(), kProfiles.end()};
    std::vector<const Format*> formats;
    /// The GL_RENDERER of those that are surveyed before others; empty for no such wish.
    std::string firstRenderer;
    /// Whoever started the run before this one has ended it because it hung.
    bool isAfterHang = false;
    /// Of `texprobectl inspect`: nothing but this question of one format, on this renderer.
    std::string question;
    GLint renderer = 0;
};

int fail_with_usage(const std::string& reason) {
    if (!reason.empty()) std::fprintf(stderr, "*** %s\n", reason.c_str());
    std::fputs(
        "Usage: texprobe-survey [--profile compatibility|core|es] [--format GL_NAME] "
        "[--first GL_RENDERER] [--after-hang]\n",
        stderr);
    return 1;
}

Verdict verdict_of_death(const SurveyWish& wish) {
    return wish.isAfterHang ? Verdict::kHung : Verdict::kCrashed;
}

bool is_wanted_first(GLint rendererID, const SurveyWish& wish) {
    SurveyRecords records(rendererID);
    records.synchronize();
    return std::any_of(wish.profiles.begin(), wish.profiles.end(), [&](Profile profile) {
        ProfileSurvey survey(rendererID, profile, &records, verdict_of_death(wish));
        return survey.renderer() == wish.firstRenderer;
    });
}

/// True if all that was asked for is recorded.
bool survey_renderer(GLint rendererID, const SurveyWish& wish) {
    SurveyRecords records(rendererID);
    // A damaged store is put aside, which matters only if something is missing in the end.
    records.synchronize();
    const Verdict ofDeath = verdict_of_death(wish);
    for (const Profile profile : wish.profiles) {
        ProfileSurvey survey(rendererID, profile, &records, ofDeath);
        for (const Format* format : wish.formats) survey.survey(*format);
    }
    bool isRecorded = records.synchronize();
    for (const Profile profile : wish.profiles) {
        const ProfileSurvey survey(rendererID, profile, &records, ofDeath);
        for (const Format* format : wish.formats) {
            isRecorded = isRecorded && survey.is_recorded(*format);
        }
    }
    return isRecorded;
}

/// Adds the IDs of the renderers that can be used on the displays of the mask. The memory is asked
/// for first, because that is when the platform finds out whether a renderer can be used.
bool list_renderers(CGOpenGLDisplayMask mask, std::set<GLint>* ids) {
    CGLRendererInfoObj info = nullptr;
    GLint count = 0;
    const CGLError error = CGLQueryRendererInfo(mask, &info, &count);
    if (error != kCGLNoError) {
        std::fprintf(stderr, "*** cannot query renderer info (%d)\n", error);
        return false;
    }
    bool isComplete = true;
    for (GLint index = 0; index < count; ++index) {
        GLint memory = 0;
        GLint id = 0;
        CGLDescribeRenderer(info, index, kCGLRPTextureMemory, &memory);
        if (CGLDescribeRenderer(info, index, kCGLRPRendererID, &id) == kCGLNoError) {
            ids->insert(id);
        } else {
            std::fprintf(stderr, "*** cannot get renderer ID\n");
            isComplete = false;
        }
    }
    CGLDestroyRendererInfo(info);
    return isComplete;
}

/// True if everything that was asked for is recorded on every renderer of every display.
bool run_survey(const SurveyWish& wish) {
    constexpr std::uint32_t kMaxDisplays = 32;
    CGDirectDisplayID displays[kMaxDisplays];
    std::uint32_t count = 0;
    const CGError error = CGGetActiveDisplayList(kMaxDisplays, displays, &count);
    if (error != kCGErrorSuccess) {
        std::fprintf(stderr, "*** cannot get active display list (%d)\n", error);
        return false;
    }
    std::set<GLint> renderers;
    bool isComplete = true;
    for (std::uint32_t i = 0; i < count; ++i) {
        isComplete =
            list_renderers(CGDisplayIDToOpenGLDisplayMask(displays[i]), &renderers) && isComplete;
    }
    if (renderers.empty()) std::fputs("*** no renderer\n", stderr);
    bool isRecorded = isComplete && !renderers.empty();
    std::vector<GLint> ordered;
    std::vector<GLint> later;
    const bool hasChoice = !wish.firstRenderer.empty() && renderers.size() > 1;
    for (const GLint id : renderers) {
        (hasChoice && !is_wanted_first(id, wish) ? later : ordered).push_back(id);
    }
    ordered.insert(ordered.end(), later.begin(), later.end());
    for (const GLint id : ordered) isRecorded = survey_renderer(id, wish) && isRecorded;
    return isRecorded;
}

int try_wish(const SurveyWish& wish) {
    for (const Question& question : questions_of(*wish.formats.front(), wish.profiles.front())) {
        if (name_of(question) != wish.question) continue;
        return try_question(wish.renderer, wish.profiles.front(), *wish.formats.front(), question)
                   ? 0
                   : 1;
    }
    return fail_with_usage("no question of that format: " + wish.question);
}

}  // namespace

int main(int argc, char** argv) {
    SurveyWish wish;
    for (int i = 1; i < argc; i += 2) {
        const std::string option = argv[i];
        const std::string value = i + 1 < argc ? argv[i + 1] : "";
        if (option == "--after-hang" && !wish.isAfterHang) {
            wish.isAfterHang = true;
            --i;
        } else if (option == "--profile" && wish.profiles.size() > 1) {
            wish.profiles.clear();
            for (const Profile profile : kProfiles) {
                if (value == name_of(profile)) wish.profiles = {profile};
            }
            if (wish.profiles.empty()) return fail_with_usage("no profile: " + value);
        } else if (option == "--format" && wish.formats.empty()) {
            const Format* format = find_format(value);
            if (!format) return fail_with_usage("no format of the survey: " + value);
            wish.formats = {format};
        } else if (option == "--first" && wish.firstRenderer.empty() && !value.empty()) {
            wish.firstRenderer = value;
        } else if (option == "--try" && !wish.formats.empty() && wish.profiles.size() == 1) {
            // Only texprobectl asks for this; the usage does not name it.
            const std::size_t space = value.find(' ');
            wish.renderer = static_cast<GLint>(std::strtoul(value.c_str(), nullptr, 16));
            wish.question = value.substr(space == std::string::npos ? value.size() : space + 1);
            if (wish.question.empty()) return fail_with_usage("");
        } else {
            return fail_with_usage("");
        }
    }
    if (wish.formats.empty()) {
        for (const Format& format : formats()) wish.formats.push_back(&format);
    }
    if (!wish.question.empty()) return try_wish(wish);
    texprobe::survive_closed_outputs();
    texprobe::remember_interruptions(texprobe::is_turn_lost);
    return run_survey(wish) ? 0 : 1;
}
