#include <cmath>

#include "documents/document.h"
#include "documents/json_lines.h"
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

Json describe_set(const RecordSet& set) {
    Json object = identification(set);
    object["software"] = set.isSoftware;
    object["formats"] = Json::array();
    for (std::size_t i = 0; i < kFormatCount; ++i) object["formats"].push_back(format_of(set, i));
    object["details"] = list_of(set.details, detail_of);
    if (!set.survey.empty()) object["survey"] = describe_survey(set.survey);
    return object;
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

std::string lines_of(const Json& value, const std::string& indent, bool isOfProfiles) {
    if (!value.is_structured() || value.empty()) return dumped(value);
    const bool isObject = value.is_object();
    std::string lines;
    for (const auto& [name, inner] : value.items()) {
        lines += lines.empty() ? (isObject ? "{" : "[") : ",";
        lines += indent + "  ";
        if (isObject) lines += '"' + name + "\": ";
        const bool hasLines = isObject || isOfProfiles;
        lines += hasLines ? lines_of(inner, indent + "  ", name == "profiles") : dumped(inner);
    }
    return lines + indent + (isObject ? '}' : ']');
}

void write_records_json(const RecordSets& sets, std::ostream& output) {
    write_lines(begin_document(kRecordsSchema), "record_sets", sets, describe_set, output);
}

}  // namespace texprobe::ctl
