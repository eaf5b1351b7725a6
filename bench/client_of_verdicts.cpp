// An application that asks in the second way, on the records beside this executable. Prints the
// seconds for which its thread is held. Usage: client_of_verdicts TOOL recorded|unrecorded

#include <TexProbeVerdicts.h>

#include <cstdio>
#include <cstring>

#include "egl_context.h"
#include "interleaved.h"

int main(int argc, char** argv) {
    using namespace texprobe::bench;
    if (argc != 3) {
        std::fprintf(stderr, "Usage: %s TOOL recorded|unrecorded\n", argv[0]);
        return 1;
    }
    const bool isRecorded = std::strcmp(argv[2], "recorded") == 0;
    const EglContext context(list_devices().front());
    const texprobe_options options = {sizeof options, argv[1], 0, nullptr, nullptr, 0, nullptr};
    texprobe_verdicts* verdicts = nullptr;
    const double seconds = time_of([&] { verdicts = texprobe_verdicts_open(&options); });
    const bool isReady = texprobe_verdicts_wait(verdicts, 0) == TEXPROBE_READY;
    texprobe_verdicts_close(verdicts);
    if (isReady != isRecorded) return 1;
    std::printf("%.9f\n", seconds);
}
