// Applications that start together: each thread opens its own context, and asks the class or, with
// a limit, the C interface.
//
// Usage: application THREADS TOOL [TEST_TIME_LIMIT_MS]
// Prints the verdicts of each object as a line of 96 digits; of the C interface, why there are
// none.

#include <array>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "TexProbe.h"
#include "TexProbeVerdicts.h"
#include "client/application_context.h"
#include "support/formats.h"

namespace {

using texprobe::tests::Format;
using texprobe::tests::kFormats;

std::string verdicts_of_object(const char* tool) {
    const auto context = texprobe::tests::open_surfaceless();
    const qor::TexProbe probe(tool);
    std::string text;
    for (const Format& format : kFormats) {
        const GLenum value = format.internalFormat;
        for (const bool verdict :
             {probe.IsTextureFormatSupported(value, false),
              probe.IsTextureFormatSupported(value, true), probe.IsTextureFormatSettable(value),
              probe.IsTextureFormatResettable(value), probe.IsTextureFormatGettable(value),
              probe.IsTextureFormatReadable(value)}) {
            text += verdict ? '1' : '0';
        }
    }
    return text;
}

std::string verdicts_of_interface(const char* tool, int limit) {
    const auto context = texprobe::tests::open_surfaceless();
    const texprobe_options options = {sizeof options, tool, limit, nullptr, nullptr, 0, nullptr};
    qor::TexProbeVerdicts verdicts(&options);
    if (verdicts.wait() != TEXPROBE_READY) return verdicts.reason();
    std::string text;
    for (const Format& format : kFormats) {
        for (int i = TEXPROBE_SUPPORTED; i <= TEXPROBE_DOWNLOAD_READ; ++i) {
            const auto capability = static_cast<texprobe_capability>(i);
            // As the class answers: what has no record, and needs a no, is one.
            const auto answer = verdicts.answer(format.internalFormat, capability);
            text += answer == TEXPROBE_YES ? '1' : '0';
        }
    }
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3 && argc != 4) return 1;
    std::vector<std::string> lines(std::stoul(argv[1]));
    std::vector<std::thread> threads;
    threads.reserve(lines.size());
    for (std::string& line : lines) {
        threads.emplace_back([&line, argc, argv] {
            line = argc == 3 ? verdicts_of_object(argv[2])
                             : verdicts_of_interface(argv[2], std::stoi(argv[3]));
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (const std::string& line : lines) std::puts(line.c_str());
    return 0;
}
