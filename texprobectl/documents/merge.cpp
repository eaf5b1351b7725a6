#include "documents/merge.h"

#include <table/record_keys.h>

#include <algorithm>
#include <set>
#include <tuple>

#include "documents/document.h"
#include "records/plain_text.h"
#include "records/software.h"

namespace texprobe::ctl {

namespace {

// With all that a driver can fail in, the names fit the longest element that is read back.
constexpr std::size_t kLongestName = 64;

}  // namespace

void MachineNames::keep(const std::string& name) {
    const std::string shown = plain(name.substr(0, kLongestName));
    const auto place = std::lower_bound(names_.begin(), names_.end(), shown);
    if (place != names_.end() && *place == shown) return;
    names_.insert(place, shown);
    if (names_.size() > kMost) names_.pop_back();
}

void MachineNames::add(const std::string& name, std::size_t document) {
    if (document == lastDocument_) return;
    lastDocument_ = document;
    ++count_;
    keep(name);
}

void MachineNames::add(Count count, const std::vector<std::string>& names) {
    count_ = std::min(count_ + count, kMostSets);
    for (const std::string& name : names) keep(name);
}

bool Driver::operator<(const Driver& other) const {
    return std::tie(rendererID, systemBuild, vendor, glVersion, renderer) <
           std::tie(other.rendererID, other.systemBuild, other.vendor, other.glVersion,
                    other.renderer);
}

bool Failure::operator<(const Failure& other) const {
    return std::tie(cell.format, cell.capability, verdict) <
           std::tie(other.cell.format, other.cell.capability, other.verdict);
}

bool SurveyFailure::operator<(const SurveyFailure& other) const {
    return std::tie(format, use, profile, verdict) <
           std::tie(other.format, other.use, other.profile, other.verdict);
}

void SurveyCounts::add(const Survey& survey) {
    if (survey.empty()) return;
    ++sets;
    for (const SurveyedProfile& profile : survey) {
        if (!profile.lack.empty() && profile.lack != survey::kContextNotOffered) {
            ++failures[{profile.profile, "", "context", profile.lack}];
        }
        for (std::size_t i = 0; i < profile.formats.size(); ++i) {
            for (const auto& [use, judged] : profile.formats[i].uses) {
                if (!is_told(judged.verdict)) continue;
                ++failures[{profile.profile, survey::formats()[i].name, name_of(use),
                            name_of(judged.verdict)}];
            }
        }
    }
}

void SurveyCounts::add(const SurveyCounts& other) {
    sets += other.sets;
    for (const auto& [failure, count] : other.failures) failures[failure] += count;
}

bool MachineState::operator<(const MachineState& other) const {
    return std::tie(kind, renderer) < std::tie(other.kind, other.renderer);
}

void Counted::add(const Counted& other) {
    sets += other.sets;
    complete += other.complete;
    isSoftware |= other.isSoftware;
    survey.add(other.survey);
    for_each_cell([&](const Cell& cell) {
        for (std::size_t i = 0; i < kVerdictCount; ++i) cells[cell][i] += other.cells[cell][i];
        ofTest[cell] += other.ofTest[cell];
    });
    for (const auto& [failure, machines] : other.failures) {
        failures[failure].add(machines.count(), machines.names());
    }
}

Verdict Counted::usual(const Cell& cell) const {
    Verdict usual = Verdict::kYes;
    for (const Verdict verdict : kFailures) {
        if (count(cell, verdict) > count(cell, usual)) usual = verdict;
    }
    return usual;
}

void Merged::begin_machine(const std::string& name) {
    const std::size_t number = now_.number + 1;
    now_ = {};
    now_.name = name;
    now_.number = number;
}

void Merged::add(const RecordSet& set) {
    Counted& counted =
        drivers_[{set.rendererID, set.systemBuild, set.vendor, set.glVersion, set.renderer}];
    const bool isSurveyAlone = !is_measured(set) && !set.survey.empty();
    counted.isSoftware |= set.isSoftware;
    counted.survey.add(set.survey);
    if (!isSurveyAlone) count_verdicts(set, &counted);
    // An older build's set says nothing of the machine as it is.
    if (now_.hasPresent && !set.isPresent) return;
    if (set.isPresent && !now_.hasPresent) {
        now_.hasHardware = now_.hasIncomplete = false;
        now_.software.clear();
    }
    now_.hasSet = true;
    now_.hasPresent |= set.isPresent;
    now_.hasIncomplete |= !set.isComplete && !isSurveyAlone;
    now_.hasHardware |= !set.isSoftware;
    const std::string renderer = set.renderer.value_or("unknown renderer");
    // The first of several by name, whatever their order.
    const std::string software = software_named_in(renderer).value_or(renderer);
    if (set.isSoftware && (now_.software.empty() || software < now_.software)) {
        now_.software = software;
    }
}

void Merged::count_verdicts(const RecordSet& set, Counted* counted) {
    ++sets_;
    ++counted->sets;
    counted->complete += set.isComplete;
    for_each_cell([&](const Cell& cell) {
        const Verdict verdict = set.verdict(cell);
        ++counted->cells[cell][static_cast<std::size_t>(verdict)];
        if (is_failure(verdict)) counted->failures[{cell, verdict}].add(now_.name, now_.number);
    });
    for (const Detail& detail : set.details) {
        counted->ofTest[detail.cell] += detail.is_of_test();
    }
}

void Merged::end_machine() {
    if (!now_.hasSet) return;
    if (now_.hasIncomplete) {
        states_[{MachineState::kIncomplete, {}}].add(now_.name, now_.number);
    }
    if (!now_.hasHardware) {
        states_[{MachineState::kSoftware, now_.software}].add(now_.name, now_.number);
    }
}

void Merged::add(const Driver& driver, const Counted& counted) {
    sets_ += counted.sets;
    drivers_[driver].add(counted);
}

void Merged::add(const MachineState& state, Count count, const std::vector<std::string>& names) {
    states_[state].add(count, names);
}

bool Merged::is_outlier(const MachineState& state) const {
    return state.kind != MachineState::kSoftware ||
           std::any_of(drivers_.begin(), drivers_.end(),
                       [](const auto& driver) { return !driver.second.isSoftware; });
}

Counted Merged::total() const {
    Counted total;
    for (const auto& [driver, counted] : drivers_) total.add(counted);
    return total;
}

Merged merge_files(const std::vector<MachineFile>& files, LeftOut* leftOut) {
    Merged merged;
    std::set<std::string> machines;
    std::set<std::string> withoutRecords;
    bool isMachine = true;
    bool isRepeated = false;
    const auto checkSum = [&](const Element& value) {
        if (merged.sets() <= kMostSets) return;
        value.fail("with this, more than " + std::to_string(kMostSets) + " record sets");
    };
    const std::vector<DocumentKind> kinds = {
        {kRecordsSchema, "record_sets",
         [&](const Element& value) {
             const RecordSet set = read_set(value);
             if (isRepeated) return;
             merged.add(set);
             checkSum(value);
         }},
        {kMergedSchema, "drivers",
         [&](const Element& value) {
             isMachine = false;
             read_merged(value, &merged);
             checkSum(value);
         },
         "states", [&](const Element& value) { read_state(value, &merged); }}};
    for (const MachineFile& each : files) {
        isMachine = true;
        isRepeated = machines.count(each.machine) != 0;
        merged.begin_machine(each.machine);
        if (read_document(each.file, kinds) == 0) {
            leftOut->empty.push_back(each.file);
            withoutRecords.insert(each.machine);
        } else if (isMachine) {
            if (isRepeated) leftOut->repeated.push_back(each);
            machines.insert(each.machine);
            merged.end_machine();
        }
    }
    for (const std::string& machine : withoutRecords) {
        if (machines.count(machine) == 0) merged.add({MachineState::kNoRecords, {}}, 1, {machine});
    }
    return merged;
}

}  // namespace texprobe::ctl
