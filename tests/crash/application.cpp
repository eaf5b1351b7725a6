// Applications that start together: each thread opens its own context and constructs the class.
//
// Usage: application THREADS TOOL
// Prints the verdicts of each object as a line of 96 digits.

#include <array>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "TexProbe.h"
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

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 1;
    std::vector<std::string> lines(std::stoul(argv[1]));
    std::vector<std::thread> threads;
    threads.reserve(lines.size());
    for (std::string& line : lines) {
        threads.emplace_back([&line, argv] { line = verdicts_of_object(argv[2]); });
    }
    for (std::thread& thread : threads) thread.join();
    for (const std::string& line : lines) std::puts(line.c_str());
    return 0;
}
