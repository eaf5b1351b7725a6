// An application that asks in the second way, on the records beside this executable. Prints the
// seconds for which its thread is held, and the MiB by which that makes the process grow. Usage:
// client_of_verdicts TOOL recorded|unrecorded|core; in a core context everything is recorded.

#include <TexProbeVerdicts.h>

#include <cstdio>
#include <cstring>

#include "egl_context.h"
#include "interleaved.h"
#include "resident_memory.h"

int main(int argc, char** argv) {
    using namespace texprobe::bench;
    if (argc != 3) {
        std::fprintf(stderr, "Usage: %s TOOL recorded|unrecorded|core\n", argv[0]);
        return 1;
    }
    const bool isCore = std::strcmp(argv[2], "core") == 0;
    const bool isRecorded = isCore || std::strcmp(argv[2], "recorded") == 0;
    const EglContext context(list_devices().front(),
                             isCore ? EglContext::kCore : EglContext::kCompatibility);
    const texprobe_options options = {sizeof options, argv[1], 0, nullptr, nullptr, 0, nullptr};
    texprobe_verdicts* verdicts = nullptr;
    const double before = resident_mebibytes();
    const double seconds = time_of([&] { verdicts = texprobe_verdicts_open(&options); });
    const double growth = resident_mebibytes() - before;
    const bool isReady = texprobe_verdicts_wait(verdicts, 0) == TEXPROBE_READY;
    texprobe_verdicts_close(verdicts);
    if (isReady != isRecorded) return 1;
    std::printf("%.9f %.6f\n", seconds, growth);
}
