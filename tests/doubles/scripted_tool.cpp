// A tool that does what a file beside it says: "script.N" in its N-th run, else "script"; each run
// adds a line with its arguments to the file "runs". As "texprobe-survey" it has such files of its
// own, "survey-script" and "survey-runs", where the last is there. The lines of a script:
//   set APPLICATION KEY true|false|number N|text T    removed APPLICATION KEY
//   sync APPLICATION    say TEXT    said TEXT (without a line feed)    out TEXT
//   turn FILE (locks it as a run that measures does)    sleep MILLISECONDS    hang    raise SIGNAL
//   exit STATUS    mute (closes its streams)
// "%p" in a text stands for the process ID, each "%n" for a line feed.

#include <CoreFoundation/CoreFoundation.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>

namespace {

/// A constant string, which nobody releases.
CFStringRef string_of(const std::string& text) {
    return __CFStringMakeConstantString(text.c_str());
}

std::string rest_of(std::istringstream& line) {
    std::string text;
    std::getline(line >> std::ws, text);
    const std::size_t at = text.find("%p");
    if (at != std::string::npos) text.replace(at, 2, std::to_string(getpid()));
    for (std::size_t end = 0; (end = text.find("%n")) != std::string::npos;) {
        text.replace(end, 2, 1, '\n');
    }
    return text;
}

int number_of(std::istringstream& line) {
    int number = 0;
    line >> number;
    return number;
}

void set_record(std::istringstream& line) {
    std::string application;
    std::string key;
    std::string kind;
    line >> application >> key >> kind;
    CFTypeRef value = kCFBooleanTrue;
    if (kind == "false") value = kCFBooleanFalse;
    if (kind == "text") value = string_of(rest_of(line));
    if (kind == "number") {
        double number = 0.0;
        line >> number;
        value = CFNumberCreate(nullptr, kCFNumberDoubleType, &number);
    }
    CFPreferencesSetAppValue(string_of(key), value, string_of(application));
    CFRelease(value);
}

void take_turn(const std::string& file) {
    struct flock turn = {};
    turn.l_type = F_WRLCK;
    turn.l_whence = SEEK_SET;
    turn.l_len = 1;
    // It stays open, and so the lock stays.
    static const int descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fcntl(descriptor, F_SETLK, &turn) != 0) std::exit(98);
}

void carry_out(const std::string& command, std::istringstream& line) {
    std::string word;
    if (command == "set") {
        set_record(line);
    } else if (command == "removed") {
        std::string key;
        line >> word >> key;
        CFPreferencesSetAppValue(string_of(key), nullptr, string_of(word));
    } else if (command == "sync") {
        line >> word;
        CFPreferencesAppSynchronize(string_of(word));
    } else if (command == "say") {
        std::fprintf(stderr, "%s\n", rest_of(line).c_str());
    } else if (command == "said") {
        std::fprintf(stderr, "%s", rest_of(line).c_str());
    } else if (command == "out") {
        std::printf("%s\n", rest_of(line).c_str());
    } else if (command == "turn") {
        take_turn(rest_of(line));
    } else if (command == "sleep") {
        std::this_thread::sleep_for(std::chrono::milliseconds(number_of(line)));
    } else if (command == "hang") {
        while (true) pause();
    } else if (command == "raise") {
        const int number = number_of(line);
        // A sanitizer would report it and exit.
        std::signal(number, SIG_DFL);
        std::raise(number);
    } else if (command == "exit") {
        std::exit(number_of(line));
    } else if (command == "mute") {
        close(1);
        close(2);
    } else {
        std::fprintf(stderr, "the script is wrong: %s\n", command.c_str());
        std::exit(99);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const auto self = std::filesystem::read_symlink("/proc/self/exe");
    const auto folder = self.parent_path();
    const bool isBesideTool =
        self.filename() == "texprobe-survey" && std::filesystem::exists(folder / "survey-runs");
    const std::string own = isBesideTool ? "survey-" : "";
    std::ofstream runs(folder / (own + "runs"), std::ios::app);
    runs << "run";
    for (int i = 1; i < argc; ++i) runs << ' ' << argv[i];
    runs << std::endl;
    std::ifstream all(folder / (own + "runs"));
    const auto run = std::count(std::istreambuf_iterator<char>(all), {}, '\n');
    std::filesystem::path orders = folder / (own + "script." + std::to_string(run));
    if (!std::filesystem::exists(orders)) orders = folder / (own + "script");
    std::ifstream stream(orders);
    for (std::string text; std::getline(stream, text);) {
        std::istringstream line(text);
        std::string command;
        if (line >> command) carry_out(command, line);
    }
    return 0;
}
