#include "text.h"

#include <unistd.h>

#include <array>
#include <fstream>
#include <sstream>

namespace texprobe::tests {

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

std::string read_file(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

std::string read_all(int descriptor) {
    std::string text;
    std::array<char, 4096> block;
    for (ssize_t size = 0; (size = read(descriptor, block.data(), block.size())) > 0;) {
        text.append(block.data(), static_cast<std::size_t>(size));
    }
    return text;
}

void write_file(const std::filesystem::path& file, const std::string& text) {
    std::ofstream(file, std::ios::binary) << text;
}

}  // namespace texprobe::tests
