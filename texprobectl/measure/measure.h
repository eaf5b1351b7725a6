// Measuring: the tool, run as often as needed until a run completes, with a time limit for each
// test, and with the memory of crashes and hangs.

#ifndef TEXPROBECTL_MEASURE_H
#define TEXPROBECTL_MEASURE_H

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "records/catalogue.h"
#include "records/record_set.h"

namespace texprobe::ctl {

struct MeasureOptions {
    std::string tool;
    /// How long a test may take.
    int seconds = 60;
    int attempts = 200;
};

/// When it began, with how much done.
struct Beginning {
    std::chrono::steady_clock::time_point time = std::chrono::steady_clock::now();
    std::size_t done = 0;
};

/// How far measuring has come.
struct MeasureProgress {
    std::string rendererID;
    /// The test in hand, in words; empty while a renderer is being set up.
    std::string test;
    /// The name of the counted things.
    const char* unit = "verdicts";
    /// Of all renderers.
    std::size_t done = 0;
    std::size_t all = 0;
    /// Of this renderer.
    std::size_t doneHere = 0;
    std::size_t allHere = 0;
    /// None before there is something to estimate it from.
    std::optional<int> secondsLeft;

    void estimate(const Beginning& begin);
};

/// Watches measuring. Called on the caller's thread.
class MeasureWatcher {
public:
    MeasureWatcher() = default;
    MeasureWatcher(const MeasureWatcher&) = delete;
    MeasureWatcher& operator=(const MeasureWatcher&) = delete;
    virtual ~MeasureWatcher() = default;

    virtual void progress(const MeasureProgress& progress) = 0;
    /// A run died: in which test, empty if in none, and how.
    virtual void died(const std::string& rendererID, const std::string& test,
                      const Cause& cause) = 0;
    /// Another process has the turn. Called again and again.
    virtual void waits_for(int process) = 0;
    /// The tool of a `measure` that was killed still has the turn. True to end it.
    virtual bool end_leftover(int process) = 0;
    /// A tool that was killed has not gone: the kernel waits for its device.
    virtual void left_behind(int process) = 0;
    virtual bool is_interrupted() = 0;
};

struct RunsResult {
    enum class Kind { kComplete, kGivenUp, kInterrupted };
    Kind kind = Kind::kGivenUp;
    /// Why it was given up: one line.
    std::string reason;
};

struct MeasureResult : RunsResult {
    /// The sets of this machine's renderers.
    RecordSets before;
    RecordSets after;
    /// Those of the build before the present one.
    RecordSets predecessors;
};

/// The record sets of this machine's renderers and present build.
std::vector<std::string> present_ids(const Machine& machine);

MeasureResult measure(const MeasureOptions& options, const Machine& machine,
                      MeasureWatcher& watcher);

}  // namespace texprobe::ctl

#endif
