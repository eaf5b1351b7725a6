#include "documents/document.h"
#include "documents/json_lines.h"
#include "documents/write_json.h"
#include "records/compare.h"

namespace texprobe::ctl {

namespace {

Json describe_difference(const Difference& difference) {
    return {{"name", kFormats[difference.cell.format].name},
            {"internal_format", kFormats[difference.cell.format].internalFormat},
            {"capability", kCapabilities[difference.cell.capability].member},
            {"a", name_of(difference.a)},
            {"b", name_of(difference.b)}};
}

Json describe_survey_difference(const SurveyDifference& difference) {
    return {{"profile", name_of(difference.profile)},
            {"name", known_or_null(difference.format)},
            {"use", difference.use},
            {"a", difference.a},
            {"b", difference.b}};
}

Json describe_pair(const ComparedSets& pair) {
    const Balance balance = balance_of(pair);
    return {{"a", identification(pair.a)},
            {"b", identification(pair.b)},
            {"worse", balance.worse},
            {"better", balance.better},
            {"differences", list_of(pair.differences, describe_difference)},
            {"survey_differences", list_of(pair.ofSurvey, describe_survey_difference)}};
}

}  // namespace

void write_comparison_json(const Comparison& comparison, std::ostream& stream) {
    Json json = begin_document("texprobe-comparison");
    json["equal"] = comparison.is_equal();
    json["pairs"] = list_of(comparison.pairs, describe_pair);
    json["only_a"] = list_of(comparison.onlyA, identification);
    json["only_b"] = list_of(comparison.onlyB, identification);
    write_whole(json, stream);
}

}  // namespace texprobe::ctl
