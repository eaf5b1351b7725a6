// What the sixteen texture formats really do on this machine's OpenGL renderer, as a table.
//
// Usage: texformats [TOOL]
// TOOL is the path of texprobe; by default, the one beside this program. It only runs if the
// renderer has not been measured yet.

#include <TexProbe.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "context.h"

namespace {

#define FORMAT(name) \
    { name, #name }
const struct {
    GLenum value;
    const char* name;
} kFormats[] = {FORMAT(GL_LUMINANCE8),
                FORMAT(GL_LUMINANCE8_ALPHA8),
                FORMAT(GL_RGB8),
                FORMAT(GL_RGBA8),
                FORMAT(GL_LUMINANCE16),
                FORMAT(GL_LUMINANCE16_ALPHA16),
                FORMAT(GL_RGB16),
                FORMAT(GL_RGBA16),
                FORMAT(GL_LUMINANCE16F_ARB),
                FORMAT(GL_LUMINANCE_ALPHA16F_ARB),
                FORMAT(GL_RGB16F_ARB),
                FORMAT(GL_RGBA16F_ARB),
                FORMAT(GL_LUMINANCE32F_ARB),
                FORMAT(GL_LUMINANCE_ALPHA32F_ARB),
                FORMAT(GL_RGB32F_ARB),
                FORMAT(GL_RGBA32F_ARB)};

const char* const kColumns[] = {"create", "render", "set", "reset", "get", "read"};
constexpr int kNameWidth = 25;
constexpr int kColumnWidth = 9;

/// Coloured ticks and crosses for a terminal; words for a pipe, or if the user asked for no colour.
bool wants_colour() {
    const char* refused = std::getenv("NO_COLOR");
    return isatty(STDOUT_FILENO) && !(refused && *refused);
}

void print_verdict(bool verdict, bool colour) {
    if (colour) {
        const char* text = verdict ? "\033[32m✓\033[0m" : "\033[31m✗\033[0m";
        std::printf("%*s%s", kColumnWidth - 1, "", text);
    } else {
        std::printf("%*s", kColumnWidth, verdict ? "yes" : "no");
    }
}

void print_table(const qor::TexProbe& probe, bool colour) {
    std::printf("%*s", kNameWidth, "");
    for (const char* column : kColumns) std::printf("%*s", kColumnWidth, column);
    for (const auto& format : kFormats) {
        const bool verdicts[] = {
            probe.IsTextureFormatSupported(format.value, false),
            probe.IsTextureFormatSupported(format.value, true),
            probe.IsTextureFormatSettable(format.value),
            probe.IsTextureFormatResettable(format.value),
            probe.IsTextureFormatGettable(format.value),
            probe.IsTextureFormatReadable(format.value),
        };
        std::printf("\n%-*s", kNameWidth, format.name);
        for (bool verdict : verdicts) print_verdict(verdict, colour);
    }
    std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 2 || (argc == 2 && argv[1][0] == '-')) {
        std::fprintf(stderr, "Usage: %s [TOOL]\n", argv[0]);
        return 1;
    }
    // If this program was started by a bare name and found in PATH, so is the tool.
    const std::string program = argv[0];
    const std::string beside = program.substr(0, program.rfind('/') + 1) + "texprobe";
    if (!open_context()) {
        std::fprintf(stderr, "texformats: no OpenGL context can be had here\n");
        return 1;
    }

    const qor::TexProbe probe(argc == 2 ? argv[1] : beside.c_str());

    // Every renderer supports this format. If not, there are no verdicts, and the class has printed
    // why.
    if (!probe.IsTextureFormatSupported(GL_RGBA8, false)) return 1;
    std::printf("%s\n\n", reinterpret_cast<const char*>(glGetString(GL_RENDERER)));
    print_table(probe, wants_colour());
    return 0;
}
