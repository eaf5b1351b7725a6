// One run of the child of `inspect`, and the lines and images that it has left.

#ifndef TEXPROBECTL_CHILD_RUN_H
#define TEXPROBECTL_CHILD_RUN_H

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "inspect/child/inspected_test.h"
#include "inspect/inspect.h"
#include "process/child.h"
#include "process/private_folder.h"

namespace texprobe::ctl {

struct NamedImage {
    std::string name;
    std::size_t test = 0;
    Layout layout;
};

/// The contents of the child's lines.
struct ChildReport {
    /// True for a line that shows progress.
    bool take(Stream stream, std::string_view text);
    std::optional<bool> verdict(const Cell& cell) const;

    std::vector<InspectedCall> calls;
    std::vector<std::string> pendingErrors;
    std::vector<NamedImage> images;
    std::optional<Inspection::Score> score;
    /// The test in hand when the child ended.
    std::optional<Cell> lastTest;
    std::map<std::size_t, bool> verdicts;
    /// The last thing that was complained about.
    std::string trouble;

private:
    void take_own(const std::string& text);
    void take_of_recorder(const std::string& kind, const std::string& rest);
    void take_tool(const std::string& text);
};

class ChildRun {
public:
    /// Runs it on the renderer of a set, to the last of these cells. Tests in which the recorded
    /// run has crashed or hung are left out, but for the last one.
    ChildRun(const InspectOptions& options, const std::vector<Cell>& cells, InspectionMode mode,
             const KnownMachine& known);

    const ChildReport& report() const { return report_; }
    /// How the child ended that did not succeed; else empty.
    const std::string& failure() const { return failure_; }
    /// None where an image is missing.
    std::optional<Evidence> evidence(const Cell& cell) const;

private:
    Image read_image(const NamedImage& named) const;

    const PrivateFolder folder_;
    ChildReport report_;
    std::string failure_;
};

}  // namespace texprobe::ctl

#endif
