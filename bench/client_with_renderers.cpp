// An application on a machine with TEXPROBE_BENCH_RENDERERS renderers, of which its own is the
// last. Usage: client_with_renderers prepare | client_with_renderers measure, which prints the
// seconds that a construction takes.

#include <OpenGL/gl.h>
#include <TexProbe.h>

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

}  // namespace

int main(int argc, char** argv) {
    const char* renderers = std::getenv("TEXPROBE_BENCH_RENDERERS");
    if (argc != 2 || !renderers) return 1;
    const EglContext context(list_devices().front());
    if (std::strcmp(argv[1], "prepare") == 0) {
        prepare(std::atoi(renderers));
        return 0;
    }
    std::unique_ptr<qor::TexProbe> probe;
    const double seconds = time_of([&] { probe = std::make_unique<qor::TexProbe>("false"); });
    if (!probe->IsTextureFormatSupported(GL_RGBA8, false)) return 1;
    std::printf("%.9f\n", seconds);
}
