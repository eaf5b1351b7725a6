#include "terminal_run.h"

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <regex>
#include <stdexcept>

namespace texprobe::tests {

namespace {

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (std::string& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

/// The characters of a UTF-8 text.
std::vector<std::string> characters_of(const std::string& text) {
    std::vector<std::string> characters;
    for (const char byte : text) {
        const bool continues = (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
        if (!continues || characters.empty()) characters.emplace_back();
        characters.back() += byte;
    }
    return characters;
}

}  // namespace

TerminalRun::TerminalRun(const std::filesystem::path& program,
                         const std::vector<std::string>& arguments, const Environment& environment,
                         unsigned short columns) {
    std::vector<std::string> words = {program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables = environment;
    const std::vector<char*> argv = pointers(words);
    const std::vector<char*> envp = pointers(variables);
    const winsize size = {24, columns, 0, 0};
    process_ = forkpty(&terminal_, nullptr, nullptr, &size);
    if (process_ < 0) throw std::runtime_error("cannot make a terminal");
    if (process_ == 0) {
        execve(program.c_str(), argv.data(), envp.data());
        _exit(127);
    }
}

TerminalRun::~TerminalRun() {
    if (!hasEnded_) {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    close(terminal_);
}

/// False when nobody has the other side open any more.
bool TerminalRun::read_more(int milliseconds) {
    pollfd ready = {terminal_, POLLIN, 0};
    if (poll(&ready, 1, milliseconds) <= 0) return true;
    char bytes[4096];
    const ssize_t count = read(terminal_, bytes, sizeof bytes);
    if (count <= 0) return false;
    for (const char byte : std::string(bytes, static_cast<std::size_t>(count))) {
        // The terminal ends a line with both.
        if (byte == '\n' && !shown_.empty() && shown_.back() == '\r') shown_.pop_back();
        shown_ += byte;
    }
    return true;
}

bool TerminalRun::waits_until(const std::string& text) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (shown_.find(text) == std::string::npos) {
        if (std::chrono::steady_clock::now() > limit || !read_more(100)) return false;
    }
    return true;
}

void TerminalRun::type(const std::string& keys) const {
    if (write(terminal_, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) {
        throw std::runtime_error("cannot type");
    }
}

Finished TerminalRun::finish() {
    while (read_more(100)) continue;
    Finished finished;
    waitpid(process_, &finished.status, 0);
    hasEnded_ = true;
    finished.out = shown_;
    return finished;
}

std::string without_colours(const std::string& text) {
    return std::regex_replace(text, std::regex("\x1b\\[[0-9;]*m"), "");
}

std::size_t width_of(const std::string& text) {
    return characters_of(text).size();
}

std::vector<std::string> screen(const std::string& shown) {
    std::vector<std::string> result;
    std::string remaining = without_colours(shown);
    for (const std::string& line : lines_of(remaining)) {
        std::vector<std::string> columns;
        std::size_t at = 0;
        for (const std::string& character : characters_of(line)) {
            if (character == "\r") {
                at = 0;
                continue;
            }
            if (at == columns.size()) columns.emplace_back();
            columns[at++] = character;
        }
        while (!columns.empty() && columns.back() == " ") columns.pop_back();
        result.emplace_back();
        for (const std::string& column : columns) result.back() += column;
    }
    return result;
}

std::vector<std::string> frames(const std::string& shown) {
    std::string text = without_colours(shown);
    std::replace(text.begin(), text.end(), '\r', '\n');
    std::vector<std::string> result;
    for (const std::string& line : lines_of(text)) {
        if (line.find_first_not_of(' ') != std::string::npos) result.push_back(line);
    }
    return result;
}

}  // namespace texprobe::tests
