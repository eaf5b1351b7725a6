#include <array>

#include "documents/document.h"
#include "documents/json_lines.h"
#include "documents/write_json.h"
#include "inspect/gl_names.h"
#include "inspect/inspect.h"
#include "inspect/inspected_use.h"

namespace texprobe::ctl {

namespace {

Json layout_of(const Image& image) {
    return {{"format", gl_name(image.layout.format)}, {"type", gl_name(image.layout.type)}};
}

Json channel_of(const ChannelErrors& errors) {
    Json first(nullptr);
    if (errors.first) first = {{"row", errors.first->row}, {"column", errors.first->column}};
    return {{"channel", name_of(errors.channel)},
            {"largest_error", errors.largest},
            {"mean_error", errors.mean},
            {"pixels", errors.pixels},
            {"first", first}};
}

Json call_of(const InspectedCall& call) {
    return {{"call", call.text},
            {"result", call.result},
            {"chosen", call.chosen},
            {"errors", call.errors},
            {"returned", call.hasReturned}};
}

Json inspection_of(const Inspection& inspection, bool hasCalls) {
    const Format& format = kFormats[inspection.cell.format];
    const auto& verdict = inspection.verdict;
    Json object = {{"id", inspection.id},
                   {"renderer", inspection.renderer},
                   {"name", format.name},
                   {"internal_format", format.internalFormat},
                   {"capability", kCapabilities[inspection.cell.capability].member},
                   {"alone", inspection.isAlone},
                   {"recorded", name_of(inspection.recorded)},
                   {"of_present_build", inspection.isOfPresentBuild},
                   {"verdict", verdict ? Json(*verdict ? "yes" : "no") : Json(nullptr)},
                   {"of_test", inspection.is_of_test()},
                   {"sentence", inspection.sentence}};
    if (inspection.score) {
        object["score"] = {{"percent", inspection.score->percent},
                           {"distance", inspection.score->distance}};
    }
    if (inspection.evidence) {
        object["sent"] = layout_of(inspection.evidence->sent);
        object["returned"] = layout_of(inspection.evidence->returned);
    }
    if (inspection.analysis) {
        const auto& steps = inspection.analysis->steps;
        object["steps"] = steps ? Json(*steps) : Json(nullptr);
        object["channels"] = list_of(inspection.analysis->channels, channel_of);
    }
    if (!hasCalls) return object;
    object["pending_errors"] = inspection.pendingErrors;
    object["calls"] = list_of(inspection.calls, call_of);
    return object;
}

Json texels_of(const ComparedTexels& texels) {
    Json object = {{"width", texels.width},
                   {"height", texels.height()},
                   {"wrong", texels.count_wrong()},
                   {"first", nullptr},
                   {"components", Json::array()}};
    for (std::size_t c = 0; c < texels.components; ++c) {
        const ComparedTexels::Errors errors = texels.errors(c);
        object["components"].push_back({{"component", texels.name(c)},
                                        {"largest_error", errors.largest},
                                        {"texels", errors.texels}});
    }
    if (const auto first = texels.first_wrong()) {
        const auto& [expected, came, isWrong] = texels.pairs[*first];
        const auto valuesOf = [&](const std::array<double, 4>& texel) {
            return std::vector(texel.begin(), texel.begin() + std::ptrdiff_t(texels.components));
        };
        object["first"] = {{"x", *first % texels.width},
                           {"y", *first / texels.width},
                           {"expected", valuesOf(expected)},
                           {"came", valuesOf(came)}};
    }
    return object;
}

Json judged_of(const std::optional<survey::Judged>& judged) {
    if (!judged) return nullptr;
    return {{"verdict", name_of(judged->verdict)}, {"text", judged->text}};
}

Json use_inspection_of(const UseInspection& inspection) {
    const auto& [profile, format, question] = inspection.cell;
    Json object = {{"id", inspection.id},
                   {"renderer", inspection.renderer},
                   {"profile", name_of(profile)},
                   {"name", format->name},
                   {"internal_format", format->value},
                   {"use", name_of(question.use)},
                   {"recorded", judged_of(inspection.recorded)},
                   {"of_present_build", inspection.isOfPresentBuild},
                   {"this_run", judged_of(inspection.now)}};
    if (!question.layout.is_none()) {
        object["format"] = format_of(question.layout).name;
        object["type"] = type_of(question.layout).name;
    }
    if (!inspection.failure.empty()) object["failure"] = inspection.failure;
    if (inspection.texels) object["texels"] = texels_of(*inspection.texels);
    return object;
}

}  // namespace

void write_inspections_json(const std::vector<UseInspection>& inspections, std::ostream& stream) {
    Json json = begin_document("texprobe-inspection");
    json["inspections"] = list_of(inspections, use_inspection_of);
    write_whole(json, stream);
}

void write_inspections_json(const std::vector<Inspection>& inspections, bool hasCalls,
                            std::ostream& stream) {
    Json json = begin_document("texprobe-inspection");
    json["inspections"] = list_of(inspections, [&](const Inspection& inspection) {
        return inspection_of(inspection, hasCalls);
    });
    write_whole(json, stream);
}

}  // namespace texprobe::ctl
