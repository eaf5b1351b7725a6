// The log of calls, and what happens at them.

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "fakes.h"

namespace fakes {

namespace {

unsigned calls = 0;
unsigned callsInTest = 0;
std::string test;

/// The NUL-terminated words of a file under /proc, with a space before each.
std::string words_of(const char* path) {
    std::ifstream file(path, std::ios::binary);
    std::string text;
    for (std::string word; std::getline(file, word, '\0');) text += " " + word;
    return text;
}

void write_line(const std::string& line) {
    static const int file =
        open(beside_executable(".calls").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    const std::string text = line + "\n";
    if (write(file, text.data(), text.size()) < 0) std::abort();
}

void write_first_line() {
    static pid_t writer = 0;
    if (writer == getpid()) return;
    writer = getpid();
    write_line("process " + std::to_string(writer) + words_of("/proc/self/cmdline") + " |" +
               words_of("/proc/self/environ"));
}

__attribute__((format(printf, 1, 0))) void log_line(const char* format, va_list arguments) {
    if (!script().log) return;
    char line[1024];
    std::vsnprintf(line, sizeof line, format, arguments);
    write_first_line();
    write_line(line);
}

int signal_named(const std::string& name) {
    constexpr std::pair<const char*, int> kSignals[] = {
        {"SIGINT", SIGINT},   {"SIGTERM", SIGTERM}, {"SIGHUP", SIGHUP},   {"SIGQUIT", SIGQUIT},
        {"SIGXCPU", SIGXCPU}, {"SIGALRM", SIGALRM}, {"SIGUSR1", SIGUSR1}, {"SIGUSR2", SIGUSR2},
        {"SIGSEGV", SIGSEGV}, {"SIGABRT", SIGABRT}, {"SIGBUS", SIGBUS},   {"SIGKILL", SIGKILL},
        {"SIGSTOP", SIGSTOP}};
    for (const auto& [known, signal] : kSignals) {
        if (name == known) return signal;
    }
    std::fprintf(stderr, "no such signal: %s\n", name.c_str());
    std::abort();
}

/// True in exactly one process.
bool is_first_death() {
    const int file = open(beside_executable(".died").c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
    if (file == -1) return false;
    close(file);
    return true;
}

bool is_time(const Event& event) {
    const unsigned count = event.key.empty() ? calls : event.key == test ? callsInTest : 0;
    return count == event.call && (!event.once || is_first_death());
}

}  // namespace

void die(const std::string& way) {
    if (way == "_exit(1)") _exit(1);
    if (way == "exit(255)") std::exit(255);
    const int signal = signal_named(way);
    if (signal == SIGSTOP) std::ofstream(beside_executable(".stopped")) << getpid();
    // A sanitizer's handler would turn these into an exit. Others are raised as by a driver that
    // gives up, with handlers in place.
    if (signal == SIGSEGV || signal == SIGABRT || signal == SIGBUS) ::signal(signal, SIG_DFL);
    raise(signal);
}

void interrupt(const std::vector<std::pair<std::string, unsigned>>& signals) {
    const pid_t interrupted = getpid();
    const pid_t sender = __real_fork();
    if (sender == 0) {
        for (const auto& [signal, milliseconds] : signals) {
            usleep(1000 * milliseconds);
            kill(interrupted, signal_named(signal));
        }
        // Not _exit, which under a sanitizer would print the parent's buffered output.
        raise(SIGKILL);
    }
    // Until it has sent all of them. The thread sanitizer delivers signals while a thread sleeps.
    do {
        usleep(1000);
    } while (__real_waitpid(sender, nullptr, WNOHANG) == 0);
}

void call(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    log_line(format, arguments);
    va_end(arguments);
    ++calls;
    if (!test.empty()) ++callsInTest;
    for (const Event& event : script().events) {
        if (is_time(event)) event.happens();
    }
}

void note(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    log_line(format, arguments);
    va_end(arguments);
}

int failure(const char* name) {
    static std::map<std::string, unsigned> counts;
    const auto found = script().failures.find(name);
    const unsigned count = ++counts[name];
    if (found == script().failures.end()) return 0;
    return found->second.call.value_or(count) == count ? found->second.code : 0;
}

void enter_test(const std::string& key) {
    test = key;
    callsInTest = 0;
}

void leave_test() {
    test.clear();
}

const std::string& current_test() {
    return test;
}

}  // namespace fakes
