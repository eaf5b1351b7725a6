#include "process/child.h"

#include <runs/run_ends.h>

#include "process/stop_signals.h"

namespace texprobe::ctl {

namespace {

using TakeLine = std::function<bool(Stream, std::string_view)>;

class ChildObserver : public RunObserver {
public:
    explicit ChildObserver(const TakeLine& line) : line_(line) {}

    bool line(Stream stream, std::string_view text) override { return line_(stream, text); }
    Wish look() override { return StopSignals::received() != 0 ? Wish::kStop : Wish::kGoOn; }

private:
    const TakeLine& line_;
};

}  // namespace

RunEnd run_followed(const Program& program, const TakeLine& line) {
    ChildObserver observer(line);
    const RunEnd end = run_supervised(program, observer);
    StopSignals::check();
    return end;
}

RunEnd run_child(const Child& child) {
    std::vector<std::string> words = {kChildWord, child.task};
    words.insert(words.end(), child.arguments.begin(), child.arguments.end());
    return run_followed({child.self, std::move(words), child.limit}, child.line);
}

std::string describe_failure(const RunEnd& end, std::chrono::seconds limit) {
    if (end.kind == RunEnd::Kind::kExited && end.number == 0) return {};
    std::string text =
        describe_end(end, "did not end within " + std::to_string(limit.count()) + " s");
    if (end.isLeftBehind) text += ", and is still there: the kernel waits for its device";
    return text;
}

}  // namespace texprobe::ctl
