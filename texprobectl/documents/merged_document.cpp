#include <fmt/format.h>

#include <array>

#include "documents/document.h"
#include "documents/json_lines.h"
#include "documents/merge.h"
#include "documents/write_json.h"

namespace texprobe::ctl {

namespace {

constexpr std::array<const char*, 3> kStateNames = {"no_records", "not_complete", "software"};

/// Of one cell. Those of the test are some of the noes.
constexpr const char* kNoesOfTest = "no_of_test";

Json counts_of(const Counted& counted, const Cell& cell) {
    Json object = Json::object();
    for (std::size_t i = 0; i < kVerdictCount; ++i) {
        object[kVerdictNames[i]] = counted.cells[cell][i];
    }
    if (counted.ofTest[cell] > 0) object[kNoesOfTest] = counted.ofTest[cell];
    return object;
}

Json formats_of(const Counted& counted) {
    Json formats = list_of(kFormats, [](const Format& format) -> Json {
        return {{"name", format.name}, {"internal_format", format.internalFormat}};
    });
    for_each_cell([&](const Cell& cell) {
        formats[cell.format][kCapabilities[cell.capability].member] = counts_of(counted, cell);
    });
    return formats;
}

void add_machines(const MachineNames& machines, bool isOutlier, Json* object) {
    (*object)["outlier"] = isOutlier;
    (*object)["machine_count"] = machines.count();
    (*object)["machines"] = machines.names();
}

Json failures_of(const Counted& counted) {
    return list_of(counted.failures, [&](const auto& entry) {
        const auto& [failure, machines] = entry;
        Json object = {{"name", kFormats[failure.cell.format].name},
                       {"capability", kCapabilities[failure.cell.capability].member},
                       {"verdict", name_of(failure.verdict)},
                       {"usual", name_of(counted.usual(failure.cell))}};
        add_machines(machines, counted.is_outlier(failure), &object);
        return object;
    });
}

Json states_of(const Merged& merged) {
    return list_of(merged.states(), [&](const auto& entry) {
        const auto& [state, machines] = entry;
        Json object = {{"state", kStateNames[state.kind]}};
        if (state.kind == MachineState::kSoftware) object["renderer"] = state.renderer;
        add_machines(machines, merged.is_outlier(state), &object);
        return object;
    });
}

Json survey_failures_of(const SurveyCounts& survey) {
    return list_of(survey.failures, [](const auto& entry) -> Json {
        const auto& [failure, count] = entry;
        return {{"profile", name_of(failure.profile)},
                {"name", known_or_null(failure.format)},
                {"use", failure.use},
                {"verdict", failure.verdict},
                {"sets", count}};
    });
}

Json describe_driver(const std::pair<const Driver, Counted>& entry) {
    const auto& [driver, counted] = entry;
    return {{"renderer_id", driver.rendererID},
            {"system_build", driver.systemBuild},
            {"vendor", text_or_null(driver.vendor)},
            {"gl_version", text_or_null(driver.glVersion)},
            {"renderer", text_or_null(driver.renderer)},
            {"sets", counted.sets},
            {"complete", counted.complete},
            {"surveyed", counted.survey.sets},
            {"software", counted.isSoftware},
            {"formats", formats_of(counted)},
            {"failures", failures_of(counted)},
            {"survey_failures", survey_failures_of(counted.survey)}};
}

std::vector<std::string> read_names(const Json& value, const Expect& expect) {
    std::vector<std::string> names;
    for (const Json& name : expect.array(value, "machines")) {
        if (!name.is_string()) expect.fail(name, "a machine's name must be a text");
        names.push_back(name.get<std::string>());
    }
    return names;
}

/// In documents of older versions there are none.
void read_failures(const Json& value, const Expect& expect, Counted* counted) {
    if (!value.contains("failures")) return;
    for (const Json& each : expect.array(value, "failures")) {
        const auto format = format_named(expect.text(each, "name"));
        const auto capability = capability_named(expect.text(each, "capability"));
        const std::string& name = expect.text(each, "verdict");
        for (const Verdict verdict : kFailures) {
            if (!format || !capability || name != name_of(verdict)) continue;
            const Cell cell = {*format, *capability};
            counted->failures[{cell, verdict}].add(
                expect.integer(each, "machine_count", 1, counted->count(cell, verdict)),
                read_names(each, expect));
        }
    }
}

/// In documents of older versions there is none.
SurveyCounts read_survey_counts(const Json& value, const Expect& expect) {
    SurveyCounts counts;
    if (!value.contains("surveyed")) return counts;
    counts.sets = expect.integer(value, "surveyed", 0, kMostSets);
    for (const Json& each : expect.array(value, "survey_failures")) {
        const SurveyFailure failure = {read_profile_name(each, expect),
                                       expect.text_or_null(each, "name").value_or(""),
                                       expect.text(each, "use"), expect.text(each, "verdict")};
        counts.failures[failure] += expect.integer(each, "sets", 1, counts.sets);
    }
    return counts;
}

void read_counts(const Json& format, const Cell& cell, Counted* counted, const Expect& expect) {
    const char* const name = kCapabilities[cell.capability].member;
    const Json& value = expect.member(format, name);
    Count sum = 0;
    for (std::size_t i = 0; i < kVerdictCount; ++i) {
        sum += counted->cells[cell][i] = expect.integer(value, kVerdictNames[i], 0, kMostSets);
    }
    if (sum != counted->sets) {
        expect.fail(value,
                    fmt::format("\"{}\" counts {} sets; expected {}", name, sum, counted->sets));
    }
    if (!value.contains(kNoesOfTest)) return;
    const Count noes = counted->count(cell, Verdict::kNo);
    counted->ofTest[cell] = expect.integer(value, kNoesOfTest, 0, noes);
}

}  // namespace

void write_merged_json(const Merged& merged, std::ostream& output) {
    const Counted total = merged.total();
    Json members = begin_document(kMergedSchema);
    members.update({{"sets", total.sets},
                    {"complete", total.complete},
                    {"states", states_of(merged)},
                    {"formats", formats_of(total)}});
    write_lines(members, "drivers", merged.drivers(), describe_driver, output);
}

void read_merged(const Json& value, const Expect& expect, Merged* merged) {
    const Driver driver{expect.text(value, "renderer_id"), expect.text(value, "system_build"),
                        expect.text_or_null(value, "vendor"),
                        expect.text_or_null(value, "gl_version"),
                        expect.text_or_null(value, "renderer")};
    Counted counted;
    counted.survey = read_survey_counts(value, expect);
    counted.sets = expect.integer(value, "sets", counted.survey.sets > 0 ? 0 : 1, kMostSets);
    counted.complete = expect.integer(value, "complete", 0, counted.sets);
    const Json& formats = expect.formats(value);
    for_each_cell(
        [&](const Cell& cell) { read_counts(formats[cell.format], cell, &counted, expect); });
    counted.isSoftware = read_software(value, driver.renderer, expect);
    read_failures(value, expect, &counted);
    merged->add(driver, counted);
}

void read_state(const Json& value, const Expect& expect, Merged* merged) {
    const auto kind = find_name(kStateNames, expect.text(value, "state"));
    // A newer version may know more of them.
    if (!kind) return;
    MachineState state{static_cast<MachineState::Kind>(*kind), {}};
    if (state.kind == MachineState::kSoftware) state.renderer = expect.text(value, "renderer");
    merged->add(state, expect.integer(value, "machine_count", 1, kMostSets),
                read_names(value, expect));
}

}  // namespace texprobe::ctl
