#include <fmt/format.h>

#include <algorithm>

#include "documents/merge.h"
#include "records/plain_text.h"
#include "text/text_matrix.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

Count count(const VerdictCounts& counts, Verdict verdict) {
    return counts[static_cast<std::size_t>(verdict)];
}

/// Does not work there: it was tried, or a capability that it needs does not work.
Count failures(const VerdictCounts& counts) {
    return count(counts, Verdict::kNo) + count(counts, Verdict::kCrashed) +
           count(counts, Verdict::kHung) + count(counts, Verdict::kNotApplicable);
}

/// "all", "none" or how many, of those that have an answer.
Shown show_counts(const VerdictCounts& counts) {
    const Count yes = count(counts, Verdict::kYes);
    const Count no = failures(counts);
    if (yes + no == 0) return {"untested", 8, "33"};
    if (no == 0) return {"all", 3, "32"};
    if (yes == 0) return {"none", 4, "31"};
    std::string text = fmt::format("{}/{}", yes, yes + no);
    // A column is nine wide; a share says as much of large numbers.
    if (text.size() > 8) {
        const double share = 100.0 * static_cast<double>(yes) / static_cast<double>(yes + no);
        text = share > 99.9 ? ">99.9 %" : share < 0.1 ? "<0.1 %" : fmt::format("{:.1f} %", share);
    }
    const std::size_t width = text.size();
    return {std::move(text), width, "33"};
}

std::string name_driver(const Driver& driver) {
    return fmt::format("{}\n  {}, build {}", plain(driver.renderer.value_or("unknown renderer")),
                       plain(short_driver(driver.glVersion)), plain(driver.systemBuild));
}

/// "GL_RGBA8 (set, reset)" for each format that fails anywhere on this driver.
std::string list_failures(const Counted& counted) {
    std::string list;
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        std::string capabilities;
        for (std::size_t i = 0; i < kCapabilityCount; ++i) {
            const Count failed = failures(counted.cells[format][i]);
            if (failed == 0) continue;
            capabilities +=
                (capabilities.empty() ? "" : ", ") + std::string(kCapabilities[i].column);
            if (failed != counted.sets) capabilities += fmt::format(" on {}", failed);
        }
        if (capabilities.empty()) continue;
        list += fmt::format("  {:<25}  {}\n", kFormats[format].name, capabilities);
    }
    return list;
}

std::string list_machines(const MachineNames& machines) {
    std::string list;
    for (const std::string& name : machines.names()) list += (list.empty() ? "" : ", ") + name;
    const Count known = machines.names().size();
    if (machines.count() > known) list += fmt::format(" and {} more", machines.count() - known);
    return list;
}

const char* plural(Count count, const char* one, const char* many) {
    return count == 1 ? one : many;
}

/// Cells in which the same machines differ in the same way.
struct OutlierLine {
    std::string machines;
    /// What they say, and what the others say.
    std::string verdicts;
    std::vector<Cell> cells;
};

std::vector<OutlierLine> outliers_of(const Counted& counted) {
    std::vector<OutlierLine> lines;
    for (const auto& [failure, machines] : counted.failures) {
        if (!counted.is_outlier(failure)) continue;
        const Verdict usual = counted.usual(failure.cell);
        const Count others =
            count(counted.cells[failure.cell.format][failure.cell.capability], usual);
        const std::string who = list_machines(machines);
        const std::string verdicts =
            fmt::format("{}; {} {} with the same driver: {}", name_of(failure.verdict), others,
                        plural(others, "machine", "machines"), name_of(usual));
        const auto same = std::find_if(lines.begin(), lines.end(), [&](const OutlierLine& line) {
            return line.machines == who && line.verdicts == verdicts;
        });
        if (same == lines.end()) {
            lines.push_back({who, verdicts, {failure.cell}});
        } else {
            same->cells.push_back(failure.cell);
        }
    }
    return lines;
}

/// The first few: the list of the driver has all of them.
std::string list_cells(const std::vector<Cell>& cells) {
    constexpr std::size_t kMost = 3;
    std::string list;
    for (std::size_t i = 0; i < std::min(kMost, cells.size()); ++i) {
        list += (list.empty() ? "" : ", ") + words_of(cells[i]);
    }
    if (cells.size() > kMost) list += fmt::format(" and {} more", cells.size() - kMost);
    return list;
}

std::string describe_machine_state(const MachineState& state) {
    switch (state.kind) {
        case MachineState::kNoRecords:
            return "no records";
        case MachineState::kIncomplete:
            return "not complete";
        default:
            return "software renderer (" + plain(state.renderer) + ')';
    }
}

void write_outliers(const Merged& merged, std::ostream& stream) {
    bool hasSome = false;
    for (const auto& driver : merged.drivers()) {
        for (const OutlierLine& line : outliers_of(driver.second)) {
            stream << fmt::format("{}: {} {}\n", line.machines, list_cells(line.cells),
                                  line.verdicts);
            hasSome = true;
        }
    }
    for (const auto& [state, machines] : merged.states()) {
        if (!merged.is_outlier(state)) continue;
        stream << fmt::format("{}: {}\n", list_machines(machines), describe_machine_state(state));
        hasSome = true;
    }
    if (hasSome) stream << '\n';
}

}  // namespace

void write_merged_text(const Merged& merged, const Terminal& terminal, std::ostream& stream) {
    write_outliers(merged, stream);
    const Counted total = merged.total();
    stream << fmt::format("{} record {} of {} {}, {} complete. On how many of them it works:\n\n",
                          total.sets, plural(total.sets, "set", "sets"), merged.drivers().size(),
                          plural(merged.drivers().size(), "driver", "drivers"), total.complete);
    write_matrix(
        [&](const Cell& cell) { return show_counts(total.cells[cell.format][cell.capability]); },
        terminal, stream);
    for (const auto& [driver, counted] : merged.drivers()) {
        const std::string list = list_failures(counted);
        if (list.empty()) continue;
        stream << fmt::format("\nDoes not work on {}, {} {}:\n{}", name_driver(driver),
                              counted.sets, plural(counted.sets, "set", "sets"), list);
    }
}

}  // namespace texprobe::ctl
