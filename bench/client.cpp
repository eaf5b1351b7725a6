// An application: creates its context, then constructs the class on the records beside this
// executable. Prints the seconds for both, and the MiB by which the second makes the process grow.

#include <TexProbe.h>

#include <cstdio>
#include <optional>

#include "egl_context.h"
#include "interleaved.h"
#include "resident_memory.h"

int main(int argc, char** argv) {
    using texprobe::bench::EglContext;
    using texprobe::bench::resident_mebibytes;
    using texprobe::bench::time_of;
    if (argc != 2) {
        std::fprintf(stderr, "Usage: %s TOOL\n", argv[0]);
        return 1;
    }
    std::optional<EglContext> context;
    const double contextSeconds =
        time_of([&] { context.emplace(texprobe::bench::list_devices().front()); });
    std::optional<qor::TexProbe> probe;
    const double before = resident_mebibytes();
    const double constructionSeconds = time_of([&] { probe.emplace(argv[1]); });
    const double growth = resident_mebibytes() - before;
    if (!probe->IsTextureFormatSupported(0x8058, false)) return 1;  // GL_RGBA8
    std::printf("%.9f %.9f %.6f\n", contextSeconds, constructionSeconds, growth);
}
