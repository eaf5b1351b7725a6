#include "documents/document.h"
#include "documents/json_lines.h"
#include "documents/write_json.h"
#include "inspect/gl_names.h"
#include "inspect/inspect.h"

namespace texprobe::ctl {

namespace {

Json layout_of(const Image& image) {
    return {{"format", gl_name(image.layout.format)}, {"type", gl_name(image.layout.type)}};
}

Json channels_of(const Analysis& analysis) {
    Json array = Json::array();
    for (const ChannelErrors& errors : analysis.channels) {
        Json first(nullptr);
        if (errors.first) first = {{"row", errors.first->row}, {"column", errors.first->column}};
        array.push_back({{"channel", name_of(errors.channel)},
                         {"largest_error", errors.largest},
                         {"mean_error", errors.mean},
                         {"pixels", errors.pixels},
                         {"first", first}});
    }
    return array;
}

Json calls_of(const Inspection& inspection) {
    Json array = Json::array();
    for (const InspectedCall& call : inspection.calls) {
        array.push_back({{"call", call.text},
                         {"result", call.result},
                         {"chosen", call.chosen},
                         {"errors", call.errors},
                         {"returned", call.hasReturned}});
    }
    return array;
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
        object["channels"] = channels_of(*inspection.analysis);
    }
    if (!hasCalls) return object;
    object["pending_errors"] = inspection.pendingErrors;
    object["calls"] = calls_of(inspection);
    return object;
}

}  // namespace

void write_inspections_json(const std::vector<Inspection>& inspections, bool hasCalls,
                            std::ostream& stream) {
    Json json = begin_document("texprobe-inspection");
    json["inspections"] = Json::array();
    for (const Inspection& inspection : inspections) {
        json["inspections"].push_back(inspection_of(inspection, hasCalls));
    }
    write_whole(json, stream);
}

}  // namespace texprobe::ctl
