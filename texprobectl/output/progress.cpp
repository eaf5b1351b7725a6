#include "progress.h"

#include <fmt/format.h>

namespace texprobe::ctl {

namespace {

std::string describe_death(const std::string& rendererID, const std::optional<Cell>& cell,
                           const Cause& cause) {
    const std::string where = cell ? fmt::format("{} {}", kFormats[cell->format].name,
                                                 kCapabilities[cell->capability].words)
                                   : std::string("outside a test");
    return fmt::format("{}: {}: {}", rendererID, where, describe(cause));
}

/// What both views say in the same way.
class View : public ProgressView {
public:
    View(std::ostream& stream, bool (*isInterrupted)())
        : stream_(stream), isInterrupted_(isInterrupted) {}

    void waits_for(int process) override {
        say(fmt::format("Process {} is measuring; waiting for it.", process));
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
    virtual void say(const std::string& line) { stream_ << line << std::endl; }

    std::ostream& stream_;

private:
    bool (*const isInterrupted_)();
};

class Lines : public View {
public:
    using View::View;

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

class Bar : public View {
public:
    Bar(std::ostream& stream, const Terminal& terminal, bool (*isInterrupted)())
        : View(stream, isInterrupted), terminal_(terminal) {}

    void progress(const MeasureProgress& progress) override {
        constexpr int kBarWidth = 20;
        const double share = progress.all == 0 ? 0.0
                                               : static_cast<double>(progress.done) /
                                                     static_cast<double>(progress.all);
        const auto filled = static_cast<std::size_t>(share * kBarWidth);
        const std::string test = progress.cell
                                     ? fmt::format("{} {}", kFormats[progress.cell->format].name,
                                                   kCapabilities[progress.cell->capability].words)
                                     : "setting up";
        const std::string left = progress.secondsLeft && progress.done < progress.all
                                     ? fmt::format(", {}:{:02} left", *progress.secondsLeft / 60,
                                                   *progress.secondsLeft % 60)
                                     : "";
        draw(fmt::format("[{}{}] {}/{}{}  {} {}", std::string(filled, '#'),
                         std::string(kBarWidth - filled, '.'), progress.done, progress.all, left,
                         progress.rendererID, test));
    }
    void died(const std::string& rendererID, const std::optional<Cell>& cell,
              const Cause& cause) override {
        say(describe_death(rendererID, cell, cause));
    }
    void finish() override { erase(); }

protected:
    void say(const std::string& line) override {
        erase();
        View::say(line);
    }

private:
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

    const Terminal terminal_;
    std::string line_;
};

}  // namespace

std::unique_ptr<ProgressView> make_progress_view(std::ostream& stream, const Terminal& terminal,
                                                 bool (*isInterrupted)()) {
    if (terminal.isTerminal) return std::make_unique<Bar>(stream, terminal, isInterrupted);
    return std::make_unique<Lines>(stream, isInterrupted);
}

}  // namespace texprobe::ctl
