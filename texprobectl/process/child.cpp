#include "process/child.h"

#include <runs/run_ends.h>

#include "process/stop_signals.h"

namespace texprobe::ctl {

namespace {

class ChildObserver : public RunObserver {
public:
    explicit ChildObserver(const Child& child) : child_(child) {}

    bool line(Stream stream, std::string_view text) override { return child_.line(stream, text); }
    Wish look() override { return StopSignals::received() != 0 ? Wish::kStop : Wish::kGoOn; }

private:
    const Child& child_;
};

}  // namespace

RunEnd run_child(const Child& child) {
    std::vector<std::string> words = {kChildWord, child.task};
    words.insert(words.end(), child.arguments.begin(), child.arguments.end());
    ChildObserver observer(child);
    const RunEnd end = run_supervised({child.self, std::move(words), child.limit}, observer);
    StopSignals::check();
    return end;
}

std::string describe_failure(const RunEnd& end, std::chrono::seconds limit) {
    if (end.kind == RunEnd::Kind::kExited && end.number == 0) return {};
    std::string text =
        describe_end(end, "did not end within " + std::to_string(limit.count()) + " s");
    if (end.isLeftBehind) text += ", and is still there: the kernel waits for its device";
    return text;
}

}  // namespace texprobe::ctl
