// One test repeated on the real renderer, and the driver's fault in it.

#ifndef TEXPROBECTL_INSPECT_H
#define TEXPROBECTL_INSPECT_H

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "inspect/analysis.h"
#include "records/catalogue.h"
#include "records/machine.h"

namespace texprobe::ctl {

struct InspectedCall {
    /// With its arguments.
    std::string text;
    /// Empty for a call without one.
    std::string result;
    std::vector<std::string> errors;
    /// The internal format of the texture that it has defined.
    std::string chosen;
    bool hasReturned = false;
};

struct InspectOptions {
    /// This program's own file.
    std::string self;
    Cell cell;
    bool isAlone = false;
    /// How long a test may take.
    std::chrono::seconds limit{60};
};

struct Inspection {
    /// Of the record set.
    std::string id;
    std::string renderer;
    Cell cell;
    bool isAlone = false;
    Verdict recorded = Verdict::kUnmeasured;
    /// Whether it was recorded under the build of the system that this run had.
    bool isOfPresentBuild = true;
    /// This run's; none if the test was not run to its end.
    std::optional<bool> verdict;
    struct Score {
        double percent = 0.0;
        unsigned long long distance = 0;
    };
    std::optional<Score> score;
    std::vector<InspectedCall> calls;
    /// Errors that the tests before left in OpenGL.
    std::vector<std::string> pendingErrors;
    /// Both none if there was nothing to compare.
    std::optional<Evidence> evidence;
    std::optional<Analysis> analysis;
    /// The finding, in one sentence.
    std::string sentence;

    /// A no, although the driver is right.
    bool is_of_test() const;
};

struct KnownMachine {
    /// Of a renderer of this machine.
    const RecordSet& set;
    /// Those of this machine.
    const RecordSets& all;
    const Machine& machine;
};

Inspection inspect(const InspectOptions& options, const KnownMachine& known);

inline bool is_transfer(Capability capability) {
    return capability != kSupported && capability != kRenderable;
}

}  // namespace texprobe::ctl

#endif
