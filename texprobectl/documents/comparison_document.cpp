#include "documents/document.h"
#include "documents/json_lines.h"
#include "documents/write_json.h"
#include "records/compare.h"

namespace texprobe::ctl {

namespace {

Json differences_of(const ComparedSets& pair) {
    Json array = Json::array();
    for (const Difference& difference : pair.differences) {
        array.push_back({{"name", kFormats[difference.cell.format].name},
                         {"internal_format", kFormats[difference.cell.format].internalFormat},
                         {"capability", kCapabilities[difference.cell.capability].member},
                         {"a", name_of(difference.a)},
                         {"b", name_of(difference.b)}});
    }
    return array;
}

Json survey_differences_of(const ComparedSets& pair) {
    Json array = Json::array();
    for (const SurveyDifference& each : pair.ofSurvey) {
        array.push_back({{"profile", name_of(each.profile)},
                         {"name", each.format.empty() ? Json(nullptr) : Json(each.format)},
                         {"use", each.use},
                         {"a", each.a},
                         {"b", each.b}});
    }
    return array;
}

Json identifications(const RecordSets& sets) {
    Json array = Json::array();
    for (const RecordSet& set : sets) array.push_back(identification(set));
    return array;
}

}  // namespace

void write_comparison_json(const Comparison& comparison, std::ostream& stream) {
    Json json = begin_document("texprobe-comparison");
    json["equal"] = comparison.is_equal();
    json["pairs"] = Json::array();
    for (const ComparedSets& pair : comparison.pairs) {
        const Balance balance = balance_of(pair);
        json["pairs"].push_back({{"a", identification(pair.a)},
                                 {"b", identification(pair.b)},
                                 {"worse", balance.worse},
                                 {"better", balance.better},
                                 {"differences", differences_of(pair)},
                                 {"survey_differences", survey_differences_of(pair)}});
    }
    json["only_a"] = identifications(comparison.onlyA);
    json["only_b"] = identifications(comparison.onlyB);
    write_whole(json, stream);
}

}  // namespace texprobe::ctl
