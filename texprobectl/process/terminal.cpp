#include "process/terminal.h"

#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <iostream>

namespace texprobe::ctl {

namespace {

bool is_set(const char* variable) {
    const char* value = std::getenv(variable);
    return value && *value;
}

int columns_of(int descriptor) {
    constexpr int kUsual = 80;
    winsize size = {};
    if (ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsual;
    return size.ws_col;
}

}  // namespace

Terminal look_at_terminal(int descriptor) {
    Terminal terminal;
    terminal.isTerminal = isatty(descriptor) != 0;
    if (!terminal.isTerminal) return terminal;
    const char* kind = std::getenv("TERM");
    const bool isDumb = kind && std::strcmp(kind, "dumb") == 0;
    terminal.hasColours = !is_set("NO_COLOR") && !isDumb;
    terminal.hasMarks = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0 && !isDumb;
    terminal.width = columns_of(descriptor);
    return terminal;
}

bool can_ask() {
    return isatty(STDIN_FILENO) && isatty(STDERR_FILENO);
}

bool ask(const std::string& question) {
    if (!can_ask()) return false;
    std::cerr << question << " [y/N] " << std::flush;
    std::string answer;
    // Without an answer, the line has not been ended.
    if (!std::getline(std::cin, answer)) std::cerr << '\n';
    return answer == "y" || answer == "Y" || answer == "yes";
}

std::string shortened(const std::string& text, int width) {
    const auto limit = static_cast<std::size_t>(width < 4 ? 4 : width);
    return text.size() <= limit ? text : text.substr(0, limit - 3) + "...";
}

}  // namespace texprobe::ctl
