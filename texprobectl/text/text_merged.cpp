#include <fmt/format.h>

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

const char* plural(Count count, const char* one, const char* many) {
    return count == 1 ? one : many;
}

}  // namespace

void write_merged_text(const Merged& merged, const Terminal& terminal, std::ostream& stream) {
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
