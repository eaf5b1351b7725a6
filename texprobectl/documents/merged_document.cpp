#include <fmt/format.h>

#include <array>

#include "documents/document.h"
#include "documents/json_lines.h"
#include "documents/merge.h"
#include "documents/write_json.h"

namespace texprobe::ctl {

namespace {

constexpr std::array<const char*, 3> kStateNames = {"no_records", "not_complete", "software"};

/// Of one cell; counted as a no, too.
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

std::vector<std::string> read_names(const Element& value) {
    std::vector<std::string> names;
    for (const Element& name : value.list("machines")) {
        if (!name.json().is_string()) name.fail("a machine's name must be a text");
        names.push_back(name.json().get<std::string>());
    }
    return names;
}

std::optional<Verdict> failure_named(const std::string& name) {
    for (const Verdict failure : kFailures) {
        if (name == name_of(failure)) return failure;
    }
    return std::nullopt;
}

/// In documents of older versions there are none.
void read_failures(const Element& value, Counted* counted) {
    if (!value.contains("failures")) return;
    for (const Element& each : value.list("failures")) {
        const Cell cell = read_cell(each);
        const Verdict verdict =
            each.known("verdict", failure_named, "\"{1}\" is {0}; expected no, crashed or hung");
        counted->failures[{cell, verdict}].add(
            each.integer("machine_count", 1, counted->count(cell, verdict)), read_names(each));
    }
}

/// In documents of older versions there is none.
SurveyCounts read_survey_counts(const Element& value) {
    SurveyCounts counts;
    if (!value.contains("surveyed")) return counts;
    counts.sets = value.integer("surveyed", 0, kMostSets);
    for (const Element& each : value.list("survey_failures")) {
        const SurveyFailure failure = {read_profile_name(each),
                                       each.text_or_null("name").value_or(""), each.text("use"),
                                       each.text("verdict")};
        counts.failures[failure] += each.integer("sets", 1, counts.sets);
    }
    return counts;
}

void read_counts(const Element& format, const Cell& cell, Counted* counted) {
    const char* const name = kCapabilities[cell.capability].member;
    const Element value = format.member(name);
    Count sum = 0;
    for (std::size_t i = 0; i < kVerdictCount; ++i) {
        sum += counted->cells[cell][i] = value.integer(kVerdictNames[i], 0, kMostSets);
    }
    if (sum != counted->sets) {
        value.fail(fmt::format("\"{}\" counts {} sets; expected {}", name, sum, counted->sets));
    }
    if (!value.contains(kNoesOfTest)) return;
    const Count noes = counted->count(cell, Verdict::kNo);
    counted->ofTest[cell] = value.integer(kNoesOfTest, 0, noes);
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

void read_merged(const Element& value, Merged* merged) {
    const Driver driver{value.text("renderer_id"), value.text("system_build"),
                        value.text_or_null("vendor"), value.text_or_null("gl_version"),
                        value.text_or_null("renderer")};
    Counted counted;
    counted.survey = read_survey_counts(value);
    counted.sets = value.integer("sets", counted.survey.sets > 0 ? 0 : 1, kMostSets);
    counted.complete = value.integer("complete", 0, counted.sets);
    const std::vector<Element> formats = value.formats();
    for_each_cell([&](const Cell& cell) { read_counts(formats[cell.format], cell, &counted); });
    counted.isSoftware = read_software(value, driver.renderer);
    read_failures(value, &counted);
    merged->add(driver, counted);
}

void read_state(const Element& value, Merged* merged) {
    const auto kind = find_name(kStateNames, value.text("state"));
    // A newer version may know more of them.
    if (!kind) return;
    MachineState state{static_cast<MachineState::Kind>(*kind), {}};
    if (state.kind == MachineState::kSoftware) state.renderer = value.text("renderer");
    merged->add(state, value.integer("machine_count", 1, kMostSets), read_names(value));
}

}  // namespace texprobe::ctl
