// The abilities of a stream's terminal.

#ifndef TEXPROBECTL_TERMINAL_H
#define TEXPROBECTL_TERMINAL_H

#include <string>

namespace texprobe::ctl {

struct Terminal {
    bool isTerminal = false;
    /// NO_COLOR is not set.
    bool hasColours = false;
    /// The locale's characters are Unicode's.
    bool hasMarks = false;
    /// Columns; no limit in a pipe.
    int width = 0;
};

/// `descriptor` is 1 or 2.
Terminal look_at_terminal(int descriptor);

bool can_ask();

/// Asks on the terminal; false without one.
bool ask(const std::string& question);

/// Shortened to a width by leaving out the end; the width counts bytes, as our texts are ASCII.
std::string shortened(const std::string& text, int width);

}  // namespace texprobe::ctl

#endif
