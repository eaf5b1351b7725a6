#include "records/catalogue.h"

#include <algorithm>
#include <set>
#include <stdexcept>

#include "records/causes.h"
#include "records/preferences.h"
#include "records/store_trouble.h"
#include "records/survey_store.h"

namespace texprobe::ctl {

namespace {

Flags read_flags(const std::string& id) {
    Flags flags;
    for_each_cell([&](const Cell& cell) {
        auto& recorded = flags.recorded[cell] = read_flag(id, key_of(cell));
        if (recorded && !*recorded) flags.causes[cell] = read_cause(id, cell);
    });
    return flags;
}

std::vector<std::string> list_ids(const Machine& machine) {
    std::set<std::string> ids;
    for (std::string& application : list_applications()) {
        std::string surveyed = set_of_survey(application);
        if (!surveyed.empty()) ids.insert(std::move(surveyed));
        if (parse_id(application)) ids.insert(std::move(application));
    }
    std::vector<std::string> ordered;
    for (const std::uint32_t renderer : machine.renderers) {
        std::string id = make_id(hexadecimal(renderer), machine.systemBuild);
        ids.erase(id);
        ordered.push_back(std::move(id));
    }
    ordered.insert(ordered.end(), ids.begin(), ids.end());
    return ordered;
}

/// Like strcmp, but runs of digits compare as numbers: "6.1.9" comes before "6.1.10".
bool is_older_build(const std::string& a, const std::string& b) {
    std::size_t i = 0;
    std::size_t j = 0;
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    while (i < a.size() && j < b.size()) {
        if (!isDigit(a[i]) || !isDigit(b[j])) {
            if (a[i] != b[j]) return a[i] < b[j];
            ++i;
            ++j;
            continue;
        }
        const auto digits = [&](const std::string& text, std::size_t* at) {
            while (*at < text.size() && text[*at] == '0') ++*at;
            const std::size_t begin = *at;
            while (*at < text.size() && isDigit(text[*at])) ++*at;
            return text.substr(begin, *at - begin);
        };
        const std::string x = digits(a, &i);
        const std::string y = digits(b, &j);
        if (x != y) return x.size() != y.size() ? x.size() < y.size() : x < y;
    }
    return a.size() - i < b.size() - j;
}

}  // namespace

std::optional<RecordSet> read_record_set(const std::string& id, const Machine& machine) {
    const auto identity = parse_id(id);
    if (!identity) return std::nullopt;
    refresh(id);
    refresh(causes_of(id));
    RecordSet set;
    set.id = id;
    set.rendererID = identity->rendererID;
    set.systemBuild = identity->systemBuild;
    set.version = read_number(id, "VERSION");
    set.vendor = read_text(id, "GL_VENDOR");
    set.glVersion = read_text(id, "GL_VERSION");
    set.renderer = read_text(id, "GL_RENDERER");
    set.measured = read_text(causes_of(id), kRecordedKey);
    const Flags flags = read_flags(id);
    set.survey = parse_survey(read_survey_texts(id));
    Decided decided = decide_verdicts(flags, set.survey);
    set.verdicts = decided.verdicts;
    set.details = std::move(decided.details);
    set.hasUnseenNo = decided.hasUnseenNo;
    set.isPresent = set.systemBuild == machine.systemBuild && machine.lists(set.rendererID);
    set.isComplete = is_complete(set);
    set.isSoftware = machine.is_software(set.rendererID, set.renderer.value_or(""));
    const bool hasRecords = is_measured(set) || !set.survey.empty();
    return hasRecords ? std::optional(std::move(set)) : std::nullopt;
}

RecordSets read_record_sets(const Machine& machine) {
    RecordSets sets;
    for (const std::string& id : list_ids(machine)) {
        if (auto set = read_record_set(id, machine)) sets.push_back(std::move(*set));
    }
    return sets;
}

RecordSets read_all_record_sets(const Machine& machine) {
    RecordSets sets;
    const std::string trouble = trouble_of_store([&] { sets = read_record_sets(machine); });
    if (!trouble.empty()) throw std::runtime_error("the records cannot be read: " + trouble);
    return sets;
}

std::string short_id(const RecordSet& set, const RecordSets& all) {
    const auto same = std::count_if(all.begin(), all.end(), [&](const RecordSet& other) {
        return other.rendererID == set.rendererID;
    });
    return same <= 1 ? set.rendererID : set.rendererID + '.' + set.systemBuild;
}

const RecordSet* find_predecessor(const RecordSet& set, const RecordSets& all) {
    const RecordSet* latest = nullptr;
    std::string latestTime;
    for (const RecordSet& other : all) {
        if (other.rendererID != set.rendererID || other.id == set.id) continue;
        if (!is_measured(other)) continue;
        // A set that was measured without `measure` has no time, and counts as older.
        const std::string time = read_time(other.id).value_or("");
        const bool isLater =
            !latest || time > latestTime ||
            (time == latestTime && is_older_build(latest->systemBuild, other.systemBuild));
        if (!isLater) continue;
        latest = &other;
        latestTime = time;
    }
    return latest;
}

}  // namespace texprobe::ctl
