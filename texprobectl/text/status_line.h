// The one line of a terminal that shows how far something is, and is drawn over and over.

#ifndef TEXPROBECTL_STATUS_LINE_H
#define TEXPROBECTL_STATUS_LINE_H

#include <ostream>
#include <string>

#include "process/terminal.h"

namespace texprobe::ctl {

class StatusLine {
public:
    StatusLine(std::ostream& stream, const Terminal& terminal)
        : stream_(stream), terminal_(terminal) {}

    void draw(const std::string& text) {
        const std::string line = shortened(text, terminal_.width - 1);
        if (line == line_) return;
        erase();
        stream_ << line << std::flush;
        line_ = line;
    }
    void erase() {
        if (!line_.empty()) stream_ << '\r' << std::string(line_.size(), ' ') << '\r' << std::flush;
        line_.clear();
    }

private:
    std::ostream& stream_;
    const Terminal terminal_;
    std::string line_;
};

/// "[####....] ", so many signs wide.
inline std::string draw_bar(std::size_t done, std::size_t all, std::size_t width) {
    const std::size_t filled = all == 0 ? 0 : width * done / all;
    return '[' + std::string(filled, '#') + std::string(width - filled, '.') + "] ";
}

}  // namespace texprobe::ctl

#endif
