// An application on a machine with TEXPROBE_BENCH_RENDERERS renderers, of which its own is the
// last. Usage: client_with_renderers prepare|construct|open
// The last two print the seconds that a construction, or texprobe_verdicts_open(), takes.

#include <OpenGL/gl.h>
#include <TexProbe.h>
#include <TexProbeVerdicts.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "egl_context.h"
#include "interleaved.h"
#include "record_sets.h"

namespace {

using namespace texprobe::bench;

std::string string_of_context(GLenum name) {
    return reinterpret_cast<const char*>(glGetString(name));
}

void prepare(int renderers) {
    add_record_sets(renderers - 1, 1, {"another vendor", "another version", "another renderer"});
    add_record_sets(1, renderers,
                    {string_of_context(GL_VENDOR), string_of_context(GL_VERSION),
                     string_of_context(GL_RENDERER)});
}

/// Seconds; below 0 without verdicts.
double time_of_construction() {
    std::unique_ptr<qor::TexProbe> probe;
    const double seconds = time_of([&] { probe = std::make_unique<qor::TexProbe>("false"); });
    return probe->IsTextureFormatSupported(GL_RGBA8, false) ? seconds : -1.0;
}

double time_of_open() {
    texprobe_verdicts* verdicts = nullptr;
    const double seconds = time_of([&] { verdicts = texprobe_verdicts_open(nullptr); });
    const bool isReady = texprobe_verdicts_wait(verdicts, 0) == TEXPROBE_READY;
    texprobe_verdicts_close(verdicts);
    return isReady ? seconds : -1.0;
}

}  // namespace

int main(int argc, char** argv) {
    const char* renderers = std::getenv("TEXPROBE_BENCH_RENDERERS");
    if (argc != 2 || !renderers) return 1;
    const EglContext context(list_devices().front());
    if (std::strcmp(argv[1], "prepare") == 0) {
        prepare(std::atoi(renderers));
        return 0;
    }
    const bool isOpen = std::strcmp(argv[1], "open") == 0;
    const double seconds = isOpen ? time_of_open() : time_of_construction();
    if (seconds < 0.0) return 1;
    std::printf("%.9f\n", seconds);
}
