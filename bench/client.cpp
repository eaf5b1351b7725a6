// An application: creates its context, then constructs the class on the records beside this
// executable. Prints the seconds for both.

#include <TexProbe.h>

#include <cstdio>
#include <optional>

#include "egl_context.h"
#include "interleaved.h"

int main(int argc, char** argv) {
    using texprobe::bench::EglContext;
    using texprobe::bench::time_of;
    if (argc != 2) {
        std::fprintf(stderr, "Usage: %s TOOL\n", argv[0]);
        return 1;
    }
    std::optional<EglContext> context;
    const double contextSeconds =
        time_of([&] { context.emplace(texprobe::bench::list_devices().front()); });
    std::optional<qor::TexProbe> probe;
    const double constructionSeconds = time_of([&] { probe.emplace(argv[1]); });
    if (!probe->IsTextureFormatSupported(0x8058, false)) return 1;  // GL_RGBA8
    std::printf("%.9f %.9f\n", contextSeconds, constructionSeconds);
}
