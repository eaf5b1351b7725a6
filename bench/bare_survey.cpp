// The OpenGL work of a whole survey: every use of every format in every profile, with nothing
// listed, recorded or waited for. With --uses, prints the processor time of each use, and of the
// call that takes most of it.

#include <OpenGL/OpenGL.h>

#include <array>
#include <cstdio>
#include <ctime>

#include "uses/uses.h"

namespace {

using namespace texprobe::survey;

GLint last_renderer() {
    CGLRendererInfoObj info = nullptr;
    GLint count = 0;
    GLint id = 0;
    if (CGLQueryRendererInfo(1, &info, &count) != kCGLNoError) return 0;
    CGLDescribeRenderer(info, count - 1, kCGLRPRendererID, &id);
    CGLDestroyRendererInfo(info);
    return id;
}

double processor_seconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

std::array<double, kUses.size()> secondsOfUses = {};
double secondsOfGenerateMipmap = 0;
void (*generateMipmap)(Enum target) = nullptr;

void survey_profile(GLint rendererID, Profile profile) {
    const ProfileContext offscreen(rendererID, profile);
    if (!offscreen.is_current()) return;
    SurveyContext context = describe_current_context(profile);
    generateMipmap = context.gl.GenerateMipmap;
    context.gl.GenerateMipmap = [](Enum target) {
        const double begin = processor_seconds();
        generateMipmap(target);
        secondsOfGenerateMipmap += processor_seconds() - begin;
    };
    const Judge judge(context);
    for (const Format& format : formats()) {
        FormatRecord record;
        const Work work(context, judge, format);
        for (const Question& question : questions_of(format, profile)) {
            const double begin = processor_seconds();
            record.uses[question] = answer(work, question, record).judged;
            secondsOfUses[static_cast<std::size_t>(question.use)] += processor_seconds() - begin;
        }
    }
}

}  // namespace

int main(int argc, char**) {
    const GLint id = last_renderer();
    for (const Profile profile : kProfiles) survey_profile(id, profile);
    if (argc == 1) return 0;
    for (const Use use : kUses) {
        std::printf("%-20s %6.2f s\n", name_of(use), secondsOfUses[static_cast<std::size_t>(use)]);
    }
    std::printf("glGenerateMipmap %.2f s\n", secondsOfGenerateMipmap);
    return 0;
}
