// An application of one toolkit: prints what TexProbeVerdicts, and for a compatibility context
// qor::TexProbe, say of its context, and what that can do when it is tried. Usage: application
// CONTEXT glx|egl TOOL Status 77 with a reason on standard error if the toolkit does not give such
// a context here.

#include <OpenGL/gl.h>
#include <TexProbe.h>
#include <TexProbeVerdicts.h>

#include <cstdio>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include "client/application_context.h"
#include "client/format_trial.h"
#include "support/answers.h"

namespace {

using texprobe::tests::answers_of;
using texprobe::tests::Wish;

const std::map<std::string, Wish> kContexts = {{"core_33", texprobe::tests::kCore33},
                                               {"core_45", texprobe::tests::kCore45},
                                               {"compatibility", {false, 3, 3}},
                                               {"es_3", texprobe::tests::kES3}};

void print(const char* what, const std::string& text) {
    std::printf("%s: %s\n", what, text.c_str());
}

void print_string(const char* what, GLenum name) {
    const auto* text = reinterpret_cast<const char*>(glGetString(name));
    print(what, text ? text : "null");
}

}  // namespace

int main(int argc, char** argv) {
    const auto context = kContexts.find(argc == 4 ? argv[1] : "");
    if (context == kContexts.end()) return 1;
    Wish wish = context->second;
    wish.isEGL = std::string(argv[2]) == "egl";
    try {
        // Current until the process ends.
        static const auto window = open_window(wish);
    } catch (const std::runtime_error& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 77;
    }
    print_string("renderer", GL_RENDERER);
    print_string("version", GL_VERSION);
    const texprobe_options options = {sizeof options, argv[3], 0, nullptr, nullptr, 0, nullptr};
    qor::TexProbeVerdicts verdicts(&options);
    verdicts.wait();
    print("reason", verdicts.reason());
    print("verdicts", answers_of(verdicts));
    std::string tried;
    for (const auto& format : texprobe::tests::kFormats) {
        tried += texprobe::tests::try_format(format);
    }
    print("tried", tried);
    // The records are there now, so it needs no tool.
    if (context->first == "compatibility") print("class", answers_of(qor::TexProbe("false")));
}
