#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "documents/merge.h"
#include "records/plain_text.h"
#include "text/text_matrix.h"
#include "text/wrapped.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

const char* plural(Count count, const char* one, const char* many) {
    return count == 1 ? one : many;
}

/// Does not work there: it was tried, or a capability that it needs does not work.
Count failures(const Counted& counted, const Cell& cell) {
    Count count = counted.count(cell, Verdict::kNotApplicable);
    for (const Verdict verdict : kFailures) count += counted.count(cell, verdict);
    return count;
}

/// "all", "none" or how many, of those that have an answer; with a mark where every no is the
/// test's own.
Shown show_counts(const Counted& counted, const Cell& cell) {
    const Count yes = counted.count(cell, Verdict::kYes);
    const Count no = failures(counted, cell);
    const bool isMarked = no > 0 && no == counted.ofTest[cell];
    if (yes + no == 0) return {"untested", 8, "33"};
    if (no == 0) return {"all", 3, "32"};
    if (yes == 0) return isMarked ? Shown{"none*", 5, "2"} : Shown{"none", 4, "31"};
    std::string text = fmt::format("{}/{}{}", yes, yes + no, isMarked ? "*" : "");
    // A column is nine wide; a share says as much of large numbers.
    if (text.size() > 8) {
        const double share = 100.0 * static_cast<double>(yes) / static_cast<double>(yes + no);
        text = share > 99.9 ? ">99.9 %" : share < 0.1 ? "<0.1 %" : fmt::format("{:.1f} %", share);
    }
    const std::size_t width = text.size();
    return {std::move(text), width, "33"};
}

/// Those that are not the test's own.
Count drivers_failures(const Counted& counted, const Cell& cell) {
    return failures(counted, cell) - counted.ofTest[cell];
}

/// Whether a driver fails in a cell on none, some or all of its sets.
enum class Failing : unsigned char { kNever, kPartly, kAlways };
using Pattern = CellTable<Failing>;

Pattern pattern_of(const Counted& counted) {
    Pattern pattern = {};
    for_each_cell([&](const Cell& cell) {
        const Count failed = drivers_failures(counted, cell);
        if (failed == 0) return;
        pattern[cell] = failed == counted.sets ? Failing::kAlways : Failing::kPartly;
    });
    return pattern;
}

/// The drivers that fail alike.
struct DriverGroup {
    std::vector<const Driver*> drivers;
    Counted sum;
};

/// The largest first.
std::vector<DriverGroup> group_drivers(const Merged& merged) {
    std::map<Pattern, DriverGroup> byPattern;
    for (const auto& [driver, counted] : merged.drivers()) {
        const Pattern pattern = pattern_of(counted);
        if (pattern == Pattern{}) continue;
        DriverGroup& group = byPattern[pattern];
        group.drivers.push_back(&driver);
        group.sum.add(counted);
    }
    std::vector<DriverGroup> groups;
    groups.reserve(byPattern.size());
    for (auto& [pattern, group] : byPattern) groups.push_back(std::move(group));
    std::sort(groups.begin(), groups.end(), [](const DriverGroup& a, const DriverGroup& b) {
        if (a.sum.sets != b.sum.sets) return a.sum.sets > b.sum.sets;
        return *a.drivers.front() < *b.drivers.front();
    });
    return groups;
}

/// One renderer a line, with the first of its drivers.
std::string list_drivers(const std::vector<const Driver*>& drivers) {
    constexpr std::size_t kMost = 5;
    std::map<std::string, std::vector<const Driver*>> byName;
    for (const Driver* driver : drivers) {
        byName[plain(driver->renderer.value_or("unknown renderer"))].push_back(driver);
    }
    std::string list;
    std::size_t lines = 0;
    for (const auto& [name, own] : byName) {
        if (lines++ == kMost) {
            return list + fmt::format("    and {} other renderers\n", byName.size() - kMost);
        }
        const std::string first = plain(short_driver(own.front()->glVersion));
        list += fmt::format("    {}, {}", name, first);
        if (own.size() > 1) list += fmt::format(" and {} more", own.size() - 1);
        list += '\n';
    }
    return list;
}

std::string name_group(const DriverGroup& group) {
    const std::string sets =
        fmt::format("{} {}:\n", group.sum.sets, plural(group.sum.sets, "set", "sets"));
    if (group.drivers.size() > 1) {
        return fmt::format("{} drivers alike, {}", group.drivers.size(), sets) +
               list_drivers(group.drivers);
    }
    const Driver& driver = *group.drivers.front();
    return fmt::format("{}\n  {}, build {}, {}",
                       plain(driver.renderer.value_or("unknown renderer")),
                       plain(short_driver(driver.glVersion)), plain(driver.systemBuild), sets);
}

/// "GL_RGBA8 (set, reset)" for each format that fails anywhere on these drivers.
std::string list_failures(const Counted& counted) {
    std::string list;
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        std::string capabilities;
        for (std::size_t i = 0; i < kCapabilityCount; ++i) {
            const Count failed = drivers_failures(counted, {format, static_cast<Capability>(i)});
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

/// As many groups as a person looks at.
void write_groups(const Merged& merged, std::ostream& stream) {
    constexpr std::size_t kMost = 20;
    const std::vector<DriverGroup> groups = group_drivers(merged);
    std::size_t drivers = 0;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        if (i >= kMost) {
            drivers += groups[i].drivers.size();
        } else {
            stream << "\nDoes not work on " << name_group(groups[i])
                   << list_failures(groups[i].sum);
        }
    }
    if (drivers == 0) return;
    stream << fmt::format("\n{} more {} in other ways; --json has them all.\n", drivers,
                          plural(drivers, "driver fails", "drivers fail"));
}

std::string list_machines(const MachineNames& machines) {
    std::string list = joined(machines.names());
    const Count known = machines.names().size();
    if (machines.count() > known) list += fmt::format(" and {} more", machines.count() - known);
    return list;
}

/// Cells in which the same machines differ in the same way.
struct OutlierLine {
    std::string machines;
    /// Their verdict, and that of the others.
    std::string verdicts;
    std::vector<Cell> cells;
};

std::vector<OutlierLine> outliers_of(const Counted& counted) {
    std::vector<OutlierLine> lines;
    for (const auto& [failure, machines] : counted.failures) {
        if (!counted.is_outlier(failure)) continue;
        const Verdict usual = counted.usual(failure.cell);
        const Count others = counted.count(failure.cell, usual);
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
    std::vector<std::string> first;
    for (std::size_t i = 0; i < std::min(kMost, cells.size()); ++i) {
        first.push_back(words_of(cells[i]));
    }
    const std::size_t others = cells.size() - first.size();
    return joined(first) + (others > 0 ? fmt::format(" and {} more", others) : "");
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

/// On which drivers it is so.
std::string name_drivers_with(const SurveyFailure& failure, const Merged& merged) {
    std::string first;
    std::size_t count = 0;
    for (const auto& [driver, counted] : merged.drivers()) {
        if (counted.survey.failures.count(failure) == 0) continue;
        if (count++ == 0) first = driver.renderer.value_or("unknown renderer");
    }
    return count == 1 ? first : fmt::format("{} and {} more", first, count - 1);
}

void write_surveys(const Merged& merged, const SurveyCounts& total, std::ostream& stream) {
    constexpr std::size_t kMost = 20;
    if (total.sets == 0) return;
    stream << fmt::format("\nSurveyed: {} {}. {}\n", total.sets, plural(total.sets, "set", "sets"),
                          total.failures.empty() ? "No promise is broken." : "Broken promises:");
    std::size_t lines = 0;
    for (const auto& [failure, count] : total.failures) {
        if (lines++ == kMost) {
            stream << fmt::format("  and {} more; --json has them all\n",
                                  total.failures.size() - kMost);
            break;
        }
        const std::string format = failure.format.empty() ? "" : failure.format + ' ';
        stream << "  "
               << wrapped(fmt::format("{}{} {} in {} on {}: {}", format, failure.use,
                                      failure.verdict, words_of(failure.profile), count,
                                      name_drivers_with(failure, merged)),
                          4)
               << '\n';
    }
}

}  // namespace

void write_merged_text(const Merged& merged, const Terminal& terminal, std::ostream& stream) {
    write_outliers(merged, stream);
    const Counted total = merged.total();
    stream << fmt::format("{} record {} of {} {}, {} complete.{}\n", total.sets,
                          plural(total.sets, "set", "sets"), merged.drivers().size(),
                          plural(merged.drivers().size(), "driver", "drivers"), total.complete,
                          total.sets > 0 ? " On how many of them it works:\n" : "");
    if (total.sets == 0) return write_surveys(merged, total.survey, stream);
    bool hasMark = false;
    write_matrix(
        [&](const Cell& cell) {
            Shown shown = show_counts(total, cell);
            hasMark |= shown.text.back() == '*';
            return shown;
        },
        terminal, stream);
    if (hasMark) stream << "\n*: each driver is right; every no comes from the test itself\n";
    write_groups(merged, stream);
    write_surveys(merged, total.survey, stream);
}

}  // namespace texprobe::ctl
