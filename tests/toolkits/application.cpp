// An application of one toolkit: prints what TexProbeVerdicts, and for a compatibility context
// qor::TexProbe, say of its context, and what that can do when it is tried. Usage: application
// CONTEXT glx|egl TOOL Status 77 with a reason on standard error if the toolkit does not give such
// a context here.

#include <OpenGL/gl.h>
#include <TexProbe.h>
#include <TexProbeVerdicts.h>

#include <cstdio>
#include <map>
#include <string>

#include "client/format_trial.h"
#include "support/answers.h"
#include "window.h"

namespace {

using texprobe::tests::answers_of;
using texprobe::tests::Format;
using texprobe::tests::kFormats;
using texprobe::tests::Wish;

const std::map<std::string, Wish> kContexts = {{"core_33", {false, 3, 3, true, false}},
                                               {"core_45", {false, 4, 5, true, false}},
                                               {"compatibility", {false, 3, 3, false, false}},
                                               {"es_3", {true, 3, 0, false, false}}};

void print(const char* what, const std::string& text) {
    std::printf("%s: %s\n", what, text.c_str());
}

void print_string(const char* what, GLenum name) {
    const auto* text = reinterpret_cast<const char*>(glGetString(name));
    print(what, text ? text : "null");
}

std::string answers_of_class(const qor::TexProbe& probe) {
    std::string line;
    for (const Format& format : kFormats) {
        const GLenum name = format.internalFormat;
        for (const bool answer :
             {probe.IsTextureFormatSupported(name, false),
              probe.IsTextureFormatSupported(name, true), probe.IsTextureFormatSettable(name),
              probe.IsTextureFormatResettable(name), probe.IsTextureFormatGettable(name),
              probe.IsTextureFormatReadable(name)}) {
            line += answer ? 'y' : 'n';
        }
    }
    return line;
}

/// Creating and rendering, as y and n.
std::string tried_by_context() {
    std::string line;
    for (const Format& format : kFormats) {
        const texprobe::tests::FormatTrial trial(format);
        line += trial.is_created() ? 'y' : 'n';
        line += trial.is_rendered() ? 'y' : 'n';
    }
    return line;
}

}  // namespace

int main(int argc, char** argv) {
    const auto context = kContexts.find(argc == 4 ? argv[1] : "");
    if (context == kContexts.end()) return 1;
    Wish wish = context->second;
    wish.isEGL = std::string(argv[2]) == "egl";
    const std::string failure = open_window(wish);
    if (!failure.empty()) {
        std::fprintf(stderr, "%s\n", failure.c_str());
        return 77;
    }
    print_string("renderer", GL_RENDERER);
    print_string("version", GL_VERSION);
    const texprobe_options options = {sizeof options, argv[3], 0, nullptr, nullptr, 0, nullptr};
    texprobe_verdicts* verdicts = texprobe_verdicts_open(&options);
    texprobe_verdicts_wait(verdicts, -1);
    print("reason", texprobe_verdicts_reason(verdicts));
    print("verdicts", answers_of(verdicts));
    texprobe_verdicts_close(verdicts);
    print("tried", tried_by_context());
    // The records are there now, so it needs no tool.
    if (context->first == "compatibility") print("class", answers_of_class(qor::TexProbe("false")));
}
