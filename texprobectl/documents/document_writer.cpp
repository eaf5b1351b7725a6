#include <cmath>

#include "documents/document.h"
#include "documents/json_lines.h"
#include "documents/survey_document.h"
#include "documents/write_json.h"

namespace texprobe::ctl {

namespace {

Json format_of(const RecordSet& set, std::size_t format) {
    Json object = {{"name", kFormats[format].name},
                   {"internal_format", kFormats[format].internalFormat}};
    for (std::size_t capability = 0; capability < kCapabilityCount; ++capability) {
        object[kCapabilities[capability].member] = name_of(set.verdicts[format][capability]);
    }
    return object;
}

Json detail_of(const Detail& detail) {
    Json object = {{"name", kFormats[detail.cell.format].name},
                   {"capability", kCapabilities[detail.cell.capability].member}};
    if (const auto* crashed = std::get_if<Crashed>(&detail.cause)) {
        object["signal"] = crashed->signal;
    } else if (const auto* exited = std::get_if<Exited>(&detail.cause)) {
        object["exit_status"] = exited->status;
    } else if (const auto* hung = std::get_if<Hung>(&detail.cause)) {
        object["seconds"] = hung->seconds;
    } else {
        object["of_test"] = true;
    }
    return object;
}

void write_set(const RecordSet& set, std::ostream& output) {
    output << "    {\n";
    Json members = identification(set);
    members["software"] = set.isSoftware;
    write_members(members, "      ", output);
    std::vector<Json> formats;
    for (std::size_t i = 0; i < kFormatCount; ++i) formats.push_back(format_of(set, i));
    std::vector<Json> details;
    for (const Detail& detail : set.details) details.push_back(detail_of(detail));
    write_lines("formats", formats, "      ", output);
    output << ",\n";
    write_lines("details", details, "      ", output);
    if (!set.survey.empty()) write_survey(set.survey, output);
    output << "\n    }";
}

}  // namespace

Json identification(const RecordSet& set) {
    const bool hasVersion = set.version && std::isfinite(*set.version);
    return {{"id", set.id},
            {"renderer_id", set.rendererID},
            {"system_build", set.systemBuild},
            {"version", hasVersion ? Json(*set.version) : Json(nullptr)},
            {"present", set.isPresent},
            {"complete", set.isComplete},
            {"vendor", text_or_null(set.vendor)},
            {"gl_version", text_or_null(set.glVersion)},
            {"renderer", text_or_null(set.renderer)},
            {"measured", text_or_null(set.measured)}};
}

void write_records_json(const RecordSets& sets, std::ostream& output) {
    begin_lines(kRecordsSchema, output);
    output << "  \"record_sets\": [";
    for (std::size_t i = 0; i < sets.size(); ++i) {
        output << (i == 0 ? "\n" : ",\n");
        write_set(sets[i], output);
    }
    output << (sets.empty() ? "]\n}\n" : "\n  ]\n}\n");
}

}  // namespace texprobe::ctl
