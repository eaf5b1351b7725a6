#include "records/record_set.h"

#include <fmt/format.h>

#include <algorithm>

namespace texprobe::ctl {

namespace {

bool is_lower_hexadecimal(std::string_view text) {
    return !text.empty() && text.size() <= 8 &&
           text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

Verdict failed_by(const std::optional<Cause>& cause) {
    if (!cause || std::holds_alternative<Seen>(*cause)) return Verdict::kNo;
    return std::holds_alternative<Hung>(*cause) ? Verdict::kHung : Verdict::kCrashed;
}

bool is_no_of_test(const Seen& seen, const Cell& cell, const Survey& survey) {
    return transfer_holds(survey, cell).value_or(seen.whose == Seen::Whose::kTest);
}

/// Of a cell without a record: is a capability that it needs a no?
Verdict unrecorded(const Cell& cell, const VerdictTable& verdicts) {
    const auto needed = precondition(cell.capability);
    if (!needed) return Verdict::kUnmeasured;
    const Verdict verdict = verdicts[{cell.format, *needed}];
    const bool isOut = is_failure(verdict) || verdict == Verdict::kNotApplicable;
    return isOut ? Verdict::kNotApplicable : Verdict::kUnmeasured;
}

}  // namespace

std::size_t RecordSet::unmeasured() const {
    std::size_t count = 0;
    for_each_cell([&](const Cell& cell) { count += verdict(cell) == Verdict::kUnmeasured; });
    return count;
}

const Detail* RecordSet::detail(const Cell& cell) const {
    const auto found = std::find_if(details.begin(), details.end(),
                                    [&](const Detail& detail) { return detail.cell == cell; });
    return found == details.end() ? nullptr : &*found;
}

bool RecordSet::is_of_test(const Cell& cell) const {
    const Detail* const known = detail(cell);
    return known && known->is_of_test();
}

std::optional<SetIdentity> parse_id(std::string_view id) {
    const std::string domain = std::string(kDomain) + '.';
    if (id.substr(0, domain.size()) != domain) return std::nullopt;
    id.remove_prefix(domain.size());
    const std::size_t point = id.find('.');
    if (point == std::string_view::npos || point + 1 == id.size()) return std::nullopt;
    if (!is_lower_hexadecimal(id.substr(0, point))) return std::nullopt;
    return SetIdentity{std::string(id.substr(0, point)), std::string(id.substr(point + 1))};
}

std::string make_id(std::string_view rendererID, std::string_view systemBuild) {
    return fmt::format("{}.{}.{}", kDomain, rendererID, systemBuild);
}

Decided decide_verdicts(const Flags& flags, const Survey& survey) {
    Decided decided;
    for_each_cell([&](const Cell& cell) {
        Verdict& verdict = decided.verdicts[cell];
        const auto& recorded = flags.recorded[cell];
        const auto& cause = flags.causes[cell];
        if (!recorded) {
            verdict = unrecorded(cell, decided.verdicts);
            return;
        }
        verdict = *recorded ? Verdict::kYes : failed_by(cause);
        if (verdict == Verdict::kCrashed || verdict == Verdict::kHung) {
            decided.details.push_back({cell, *cause});
        }
        if (verdict == Verdict::kNo && cause &&
            is_no_of_test(std::get<Seen>(*cause), cell, survey)) {
            decided.details.push_back({cell, Seen{Seen::Whose::kTest}});
        }
        decided.hasUnseenNo |= verdict == Verdict::kNo && !cause;
    });
    return decided;
}

bool is_complete(const RecordSet& set) {
    return set.version && *set.version >= kCurrentVersion && set.vendor && set.glVersion &&
           set.renderer && set.unmeasured() == 0;
}

bool is_measured(const RecordSet& set) {
    return set.version || set.vendor || set.glVersion || set.renderer ||
           set.unmeasured() < kCellCount;
}

std::string describe(const Cause& cause) {
    if (const auto* crashed = std::get_if<Crashed>(&cause)) return "ended by " + crashed->signal;
    if (const auto* exited = std::get_if<Exited>(&cause)) {
        return fmt::format("ended the tool with status {}", exited->status);
    }
    if (const auto* hung = std::get_if<Hung>(&cause)) {
        return fmt::format("did not end within {} s", hung->seconds);
    }
    return "is a no of the test itself";
}

std::optional<std::size_t> format_named(std::string_view name) {
    for (std::size_t i = 0; i < kFormatCount; ++i) {
        if (name == kFormats[i].name) return i;
    }
    return std::nullopt;
}

std::optional<Capability> capability_named(std::string_view member) {
    for (std::size_t i = 0; i < kCapabilityCount; ++i) {
        if (member == kCapabilities[i].member) return static_cast<Capability>(i);
    }
    return std::nullopt;
}

std::string words_of(const Cell& cell) {
    return fmt::format("{} {}", kFormats[cell.format].name, kCapabilities[cell.capability].words);
}

}  // namespace texprobe::ctl
