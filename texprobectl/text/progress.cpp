#include "text/progress.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "process/stop_signals.h"
#include "records/plain_text.h"
#include "records/turn.h"

namespace texprobe::ctl {

namespace {

/// As wide as the longest name of a test and most of an hour leave room for; empty where that is
/// too little.
std::string fitting_bar(const MeasureProgress& progress, int terminalWidth) {
    constexpr std::size_t kMost = 20;
    constexpr std::size_t kLeast = 3;
    std::size_t others =
        fmt::format("[] {0}/{0}, 59:59 left  {1} ", progress.all, progress.rendererID).size();
    others += std::strlen("GL_LUMINANCE_ALPHA32F_ARB download read");
    const auto width = static_cast<std::size_t>(terminalWidth - 1);
    if (width < others + kLeast) return {};
    return draw_bar(progress.done, progress.all, std::min(kMost, width - others));
}

}  // namespace

std::string draw_bar(std::size_t done, std::size_t all, std::size_t width) {
    const std::size_t filled = all == 0 ? 0 : width * done / all;
    return '[' + std::string(filled, '#') + std::string(width - filled, '.') + "] ";
}

void StatusLine::draw(const std::string& text) {
    const std::string line = shortened(text, terminal_.width - 1);
    if (line == line_) return;
    erase();
    stream_ << line << std::flush;
    line_ = line;
}

void StatusLine::say(const std::string& text) {
    erase();
    stream_ << plain(text) << std::endl;
}

void StatusLine::erase() {
    if (!line_.empty()) stream_ << '\r' << std::string(line_.size(), ' ') << '\r' << std::flush;
    line_.clear();
}

void MeasureView::progress(const MeasureProgress& progress) {
    if (progress.rendererID != last_.rendererID) finish();
    last_ = progress;
    if (!terminal_.isTerminal) return;
    const std::string left =
        progress.secondsLeft && progress.done < progress.all
            ? fmt::format(", {}:{:02} left", *progress.secondsLeft / 60, *progress.secondsLeft % 60)
            : "";
    line_.draw(fmt::format("{}{}/{}{}  {} {}", fitting_bar(progress, terminal_.width),
                           progress.done, progress.all, left, progress.rendererID,
                           progress.test.empty() ? "setting up" : progress.test));
}

void MeasureView::died(const std::string& rendererID, const std::string& test, const Cause& cause) {
    ++deaths_;
    // Elsewhere the table at the end tells which they were.
    if (!terminal_.isTerminal) return;
    line_.say(fmt::format("{}: {}: {}", rendererID, test.empty() ? "outside a test" : test,
                          describe(cause)));
}

void MeasureView::waits_for(int process) {
    if (!waitedFor_.insert(process).second) return;
    std::string line = name_of_holder(process) + " is measuring; waiting for it.";
    line[0] = line[0] == 'p' ? 'P' : 'A';
    line_.say(line);
}

bool MeasureView::end_leftover(int process) {
    line_.say(fmt::format(
        "The tool of an earlier `texprobectl measure` is still there, process {}.", process));
    return ask("End it?");
}

void MeasureView::left_behind(int process) {
    line_.say(fmt::format(
        "Process {} was killed and has not gone: its driver holds it in the kernel.", process));
}

bool MeasureView::is_interrupted() {
    return StopSignals::received() != 0;
}

void MeasureView::finish() {
    line_.erase();
    if (last_.rendererID.empty()) return;
    if (!terminal_.isTerminal) {
        line_.say(fmt::format("{}: {} of {} {}{}", last_.rendererID, last_.doneHere, last_.allHere,
                              last_.unit,
                              deaths_ == 0   ? std::string()
                              : deaths_ == 1 ? std::string(", the run died once")
                                             : fmt::format(", the run died {} times", deaths_)));
    }
    last_ = {};
    deaths_ = 0;
}

}  // namespace texprobe::ctl
