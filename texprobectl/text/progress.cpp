#include "text/progress.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "records/plain_text.h"
#include "records/turn.h"
#include "text/status_line.h"

namespace texprobe::ctl {

namespace {

std::string test_name(const Cell& cell) {
    return fmt::format("{} {}", kFormats[cell.format].name, kCapabilities[cell.capability].words);
}

std::size_t longest_test_name() {
    std::size_t longest = 0;
    for_each_cell([&](const Cell& cell) { longest = std::max(longest, test_name(cell).size()); });
    return longest;
}

std::string describe_death(const std::string& rendererID, const std::optional<Cell>& cell,
                           const Cause& cause) {
    const std::string where = cell ? test_name(*cell) : "outside a test";
    return fmt::format("{}: {}: {}", rendererID, where, describe(cause));
}

/// Shared by both views.
class PrintedProgress : public ProgressView {
public:
    PrintedProgress(std::ostream& stream, bool (*isInterrupted)())
        : stream_(stream), isInterrupted_(isInterrupted) {}

    void waits_for(int process) override {
        if (!waitedFor_.insert(process).second) return;
        std::string line = name_of_holder(process) + " is measuring; waiting for it.";
        line[0] = line[0] == 'p' ? 'P' : 'A';
        say(line);
    }
    bool end_leftover(int process) override {
        say(fmt::format("The tool of an earlier `texprobectl measure` is still there, process {}.",
                        process));
        return ask("End it?");
    }
    void left_behind(int process) override {
        say(fmt::format(
            "Process {} was killed and has not gone: its driver holds it in the kernel.", process));
    }
    bool is_interrupted() override { return isInterrupted_(); }

protected:
    virtual void say(const std::string& line) { stream_ << plain(line) << std::endl; }

    std::ostream& stream_;

private:
    bool (*const isInterrupted_)();
    std::set<int> waitedFor_;
};

class ProgressLines : public PrintedProgress {
public:
    using PrintedProgress::PrintedProgress;

    void progress(const MeasureProgress& progress) override {
        if (progress.rendererID != rendererID_) {
            finish();
            rendererID_ = progress.rendererID;
        }
        last_ = progress;
    }
    // The table at the end tells which they were.
    void died(const std::string&, const std::optional<Cell>&, const Cause&) override { ++deaths_; }

    void finish() override {
        if (rendererID_.empty()) return;
        say(fmt::format("{}: {} of 96 verdicts{}", rendererID_, last_.doneHere,
                        deaths_ == 0   ? std::string()
                        : deaths_ == 1 ? std::string(", the run died once")
                                       : fmt::format(", the run died {} times", deaths_)));
        rendererID_.clear();
        deaths_ = 0;
    }

private:
    std::string rendererID_;
    MeasureProgress last_;
    int deaths_ = 0;
};

class ProgressBar : public PrintedProgress {
public:
    ProgressBar(std::ostream& stream, const Terminal& terminal, bool (*isInterrupted)())
        : PrintedProgress(stream, isInterrupted), terminal_(terminal), line_(stream, terminal) {}

    void progress(const MeasureProgress& progress) override {
        const std::string test = progress.cell ? test_name(*progress.cell) : "setting up";
        const std::string left = progress.secondsLeft && progress.done < progress.all
                                     ? fmt::format(", {}:{:02} left", *progress.secondsLeft / 60,
                                                   *progress.secondsLeft % 60)
                                     : "";
        line_.draw(fmt::format("{}{}/{}{}  {} {}", bar(progress), progress.done, progress.all, left,
                               progress.rendererID, test));
    }
    void died(const std::string& rendererID, const std::optional<Cell>& cell,
              const Cause& cause) override {
        say(describe_death(rendererID, cell, cause));
    }
    void finish() override { line_.erase(); }

protected:
    void say(const std::string& line) override {
        line_.erase();
        PrintedProgress::say(line);
    }

private:
    /// As wide as the longest name of a test and most of an hour leave room for; empty where that
    /// is too little.
    std::string bar(const MeasureProgress& progress) const {
        constexpr std::size_t kMost = 20;
        constexpr std::size_t kLeast = 3;
        const std::size_t others =
            fmt::format("[] {0}/{0}, 59:59 left  {1} ", progress.all, progress.rendererID).size() +
            longest_test_name();
        const auto width = static_cast<std::size_t>(terminal_.width - 1);
        if (width < others + kLeast) return {};
        return draw_bar(progress.done, progress.all, std::min(kMost, width - others));
    }

    const Terminal terminal_;
    StatusLine line_;
};

}  // namespace

std::unique_ptr<ProgressView> make_progress_view(std::ostream& stream, const Terminal& terminal,
                                                 bool (*isInterrupted)()) {
    if (terminal.isTerminal) return std::make_unique<ProgressBar>(stream, terminal, isInterrupted);
    return std::make_unique<ProgressLines>(stream, isInterrupted);
}

}  // namespace texprobe::ctl
