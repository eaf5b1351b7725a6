#include "records/catalogue.h"

#include <algorithm>
#include <set>
#include <stdexcept>
#include <utility>

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

/// The build with all its numbers equally long, so that "6.1.9" is less than "6.1.10".
std::string sortable(const std::string& build) {
    constexpr std::size_t kWidth = 20;
    std::string text;
    for (std::size_t at = 0; at < build.size();) {
        const std::size_t end = std::min(build.find_first_not_of("0123456789", at), build.size());
        if (end == at) {
            text += build[at++];
            continue;
        }
        text.append(kWidth - std::min(kWidth, end - at), '0').append(build, at, end - at);
        at = end;
    }
    return text;
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
    // A set that was measured without `measure` has no time, and counts as older.
    using Age = std::pair<std::string, std::string>;
    const RecordSet* latest = nullptr;
    Age latestAge;
    for (const RecordSet& other : all) {
        if (other.rendererID != set.rendererID || other.id == set.id) continue;
        if (!is_measured(other)) continue;
        Age age = {read_time(other.id).value_or(""), sortable(other.systemBuild)};
        if (latest && age <= latestAge) continue;
        latest = &other;
        latestAge = std::move(age);
    }
    return latest;
}

}  // namespace texprobe::ctl
