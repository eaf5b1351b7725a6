// A program on a terminal of its own: what it shows there, and what is typed to it.

#ifndef TEXPROBE_TESTS_TERMINAL_RUN_H
#define TEXPROBE_TESTS_TERMINAL_RUN_H

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/tool_folder.h"

namespace texprobe::tests {

class TerminalRun {
public:
    /// Starts the program with all three standard streams on a new terminal of this width.
    TerminalRun(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                const Environment& environment, unsigned short columns = 80);
    /// Kills a program that still runs.
    ~TerminalRun();
    TerminalRun(const TerminalRun&) = delete;
    TerminalRun& operator=(const TerminalRun&) = delete;

    pid_t process() const { return process_; }

    /// Waits until it has shown the text. False if it ends before, or after a minute.
    bool waits_until(const std::string& text);
    /// The terminal echoes it, as it does for a person.
    void type(const std::string& keys) const;
    /// Reads to its end. Both streams are in `out`.
    Finished finish();

    /// Everything that came, with line feeds alone at the ends of lines.
    const std::string& shown() const { return shown_; }

private:
    bool read_more(int milliseconds);

    int terminal_ = -1;
    pid_t process_ = -1;
    bool hasEnded_ = false;
    std::string shown_;
};

/// The text without the terminal's colours.
std::string without_colours(const std::string& text);

/// How many columns the text takes: the number of its UTF-8 characters.
std::size_t width_of(const std::string& text);

/// The lines that are left on the screen when carriage returns have written over them. A line
/// without colours and without blanks at its end.
std::vector<std::string> screen(const std::string& shown);

/// What each line showed in turn: the texts between carriage returns and line feeds, but blanks.
std::vector<std::string> frames(const std::string& shown);

}  // namespace texprobe::tests

#endif
