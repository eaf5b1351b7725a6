#include "run/survey_run.h"

#include <ApplicationServices/ApplicationServices.h>
#include <OpenGL/OpenGL.h>

#include <cstdint>
#include <cstdio>
#include <set>

#include "run/profile_survey.h"

namespace texprobe::survey {

namespace {

bool survey_renderer(GLint rendererID, const Wish& wish) {
    SurveyRecords records(rendererID);
    bool isRecorded = records.synchronize();
    for (const Profile profile : kProfiles) {
        if (wish.profile && *wish.profile != profile) continue;
        ProfileSurvey survey(rendererID, profile, &records);
        for (const Format& format : formats()) {
            if (wish.format && wish.format != &format) continue;
            isRecorded = survey.survey(format) && isRecorded;
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

}  // namespace

bool run_survey(const Wish& wish) {
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
    for (const GLint id : renderers) isRecorded = survey_renderer(id, wish) && isRecorded;
    return isRecorded;
}

}  // namespace texprobe::survey
