#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "documents/merge.h"
#include "records/plain_text.h"
#include "text/text_pieces.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

/// "1 set", "2 sets".
std::string amount(Count count, const std::string& what) {
    return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

std::string name_of(const Driver& driver) {
    return driver.renderer.value_or("unknown renderer");
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
    if (yes + no == 0) return {"untested", "33"};
    if (no == 0) return {"all", "32"};
    if (yes == 0) return isMarked ? Shown{"none*", "2"} : Shown{"none", "31"};
    std::string text = fmt::format("{}/{}{}", yes, yes + no, isMarked ? "*" : "");
    // A column is nine wide; a share says as much of large numbers.
    if (text.size() > 8) {
        const double share = 100.0 * static_cast<double>(yes) / static_cast<double>(yes + no);
        text = share > 99.9 ? ">99.9 %" : share < 0.1 ? "<0.1 %" : fmt::format("{:.1f} %", share);
    }
    return {std::move(text), "33"};
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
        byName[plain(name_of(*driver))].push_back(driver);
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
    const std::string sets = amount(group.sum.sets, "set");
    if (group.drivers.size() > 1) {
        return fmt::format("{} drivers alike, {}:\n{}", group.drivers.size(), sets,
                           list_drivers(group.drivers));
    }
    const Driver& driver = *group.drivers.front();
    return fmt::format("{}\n  {}, build {}, {}:\n", plain(name_of(driver)),
                       plain(short_driver(driver.glVersion)), plain(driver.systemBuild), sets);
}

/// "GL_RGBA8 (set, reset)" for each format that fails anywhere on these drivers.
std::string list_failures(const Counted& counted) {
    std::string list;
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        std::vector<std::string> capabilities;
        for (const Cell& cell : cells_of(format)) {
            const Count failed = drivers_failures(counted, cell);
            if (failed == 0) continue;
            capabilities.emplace_back(kCapabilities[cell.capability].column);
            if (failed != counted.sets) capabilities.back() += fmt::format(" on {}", failed);
        }
        if (capabilities.empty()) continue;
        list += fmt::format("  {:<25}  {}\n", kFormats[format].name, joined(capabilities));
    }
    return list;
}

/// As many groups as a person looks at.
void write_groups(const Merged& merged, std::ostream& stream) {
    constexpr std::size_t kMost = 20;
    std::size_t written = 0;
    std::size_t drivers = 0;
    for (const DriverGroup& group : group_drivers(merged)) {
        if (written++ < kMost) {
            stream << "\nDoes not work on " << name_group(group) << list_failures(group.sum);
        } else {
            drivers += group.drivers.size();
        }
    }
    if (drivers == 0) return;
    stream << fmt::format("\n{} more {} in other ways; --json has them all.\n", drivers,
                          drivers == 1 ? "driver fails" : "drivers fail");
}

std::string list_machines(const MachineNames& machines) {
    std::string list = joined(machines.names());
    const Count known = machines.names().size();
    if (machines.count() > known) list += fmt::format(" and {} more", machines.count() - known);
    return list;
}

/// The cells in which the same machines differ in the same way: the machines, and their verdict and
/// that of the others.
Folded<std::pair<std::string, std::string>> outliers_of(const Counted& counts) {
    Folded<std::pair<std::string, std::string>> outliers;
    for (const auto& [failure, machines] : counts.failures) {
        if (!counts.is_outlier(failure)) continue;
        const Verdict usual = counts.usual(failure.cell);
        const std::string verdicts =
            fmt::format("{}; {} with the same driver: {}", name_of(failure.verdict),
                        amount(counts.count(failure.cell, usual), "machine"), name_of(usual));
        fold({list_machines(machines), verdicts}, words_of(failure.cell), &outliers);
    }
    return outliers;
}

/// The first few: the list of the driver has all of them.
std::string list_first(std::vector<std::string> cells) {
    constexpr std::size_t kMost = 3;
    const std::size_t all = cells.size();
    cells.resize(std::min(kMost, all));
    return joined(cells) + (all > kMost ? fmt::format(" and {} more", all - kMost) : "");
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
        for (const auto& [said, cells] : outliers_of(driver.second)) {
            stream << fmt::format("{}: {} {}\n", said.first, list_first(cells), said.second);
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
        if (count++ == 0) first = name_of(driver);
    }
    return count == 1 ? first : fmt::format("{} and {} more", first, count - 1);
}

void write_surveys(const Merged& merged, const SurveyCounts& total, std::ostream& stream) {
    constexpr std::size_t kMost = 20;
    if (total.sets == 0) return;
    stream << fmt::format("\nSurveyed: {}. {}\n", amount(total.sets, "set"),
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
    stream << fmt::format("{} of {}, {} complete.{}\n", amount(total.sets, "record set"),
                          amount(merged.drivers().size(), "driver"), total.complete,
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
