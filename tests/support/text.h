// Texts: their lines, and the files that they are in.

#ifndef TEXPROBE_TESTS_TEXT_H
#define TEXPROBE_TESTS_TEXT_H

#include <filesystem>
#include <string>
#include <vector>

namespace texprobe::tests {

/// The lines of a text, without their line feeds.
std::vector<std::string> lines_of(const std::string& text);

/// Everything in a file; nothing if there is none.
std::string read_file(const std::filesystem::path& file);

/// Everything that can be read from a descriptor until its other end is closed.
std::string read_all(int descriptor);

void write_file(const std::filesystem::path& file, const std::string& text);

}  // namespace texprobe::tests

#endif
