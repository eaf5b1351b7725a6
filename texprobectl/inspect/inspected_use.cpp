#include "inspect/inspected_use.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "process/child.h"

namespace texprobe::ctl {

namespace {

/// The program's output: a record, and texels.
class TrialLines {
public:
    bool take(Stream stream, std::string_view text) {
        const std::string line(text);
        if (stream == Stream::kError) {
            if (line.rfind("*** ", 0) == 0) trouble = line.substr(4);
        } else if (texels.width != 0) {
            take_texel(line);
        } else if (std::sscanf(line.c_str(), "texels %zu %zu", &texels.width, &texels.components) !=
                   2) {
            record += line + '\n';
        }
        return true;
    }

    std::string record;
    ComparedTexels texels;
    std::string trouble;

private:
    void take_texel(const std::string& line) {
        ComparedTexels::Pair pair;
        auto& [e, c, isWrong] = pair;
        int wrong = 0;
        const int count = std::sscanf(line.c_str(), "%d %lf %lf %lf %lf %lf %lf %lf %lf", &wrong,
                                      &e[0], &e[1], &e[2], &e[3], &c[0], &c[1], &c[2], &c[3]);
        isWrong = wrong != 0;
        if (count == 9) texels.pairs.push_back(pair);
    }
};

}  // namespace

std::optional<std::size_t> ComparedTexels::first_wrong() const {
    const auto found =
        std::find_if(pairs.begin(), pairs.end(), [](const Pair& pair) { return pair.isWrong; });
    if (found == pairs.end()) return std::nullopt;
    return static_cast<std::size_t>(found - pairs.begin());
}

std::size_t ComparedTexels::count_wrong() const {
    return static_cast<std::size_t>(
        std::count_if(pairs.begin(), pairs.end(), [](const Pair& pair) { return pair.isWrong; }));
}

ComparedTexels::Errors ComparedTexels::errors(std::size_t component) const {
    Errors errors;
    for (const Pair& pair : pairs) {
        const double error = std::abs(pair.came[component] - pair.expected[component]);
        if (!pair.isWrong || error == 0.0) continue;
        ++errors.texels;
        // A value that is no number is as far away as can be.
        errors.largest = std::max(errors.largest, std::isnan(error) ? HUGE_VAL : error);
    }
    return errors;
}

const char* ComparedTexels::name(std::size_t component) const {
    constexpr std::array<const char*, 4> kChannels = {"red", "green", "blue", "alpha"};
    return components == 1 ? "depth" : kChannels[component];
}

std::string words_of(const UseCell& cell) {
    return std::string(cell.format->name) + ' ' + name_of(cell.question) + " in " +
           words_of(cell.profile);
}

std::optional<survey::Judged> recorded_verdict(const RecordSet& set, const UseCell& cell) {
    const auto index = static_cast<std::size_t>(cell.format - survey::formats().data());
    for (const SurveyedProfile& profile : set.survey) {
        if (profile.profile != cell.profile) continue;
        const auto& uses = profile.formats[index].uses;
        const auto found = uses.find(cell.question);
        if (found != uses.end()) return found->second;
    }
    return std::nullopt;
}

UseInspection inspect_use(const UseInspectOptions& options, const UseCell& cell,
                          const RecordSet& set) {
    TrialLines lines;
    const RunEnd end = run_followed(
        {options.program,
         {"--profile", name_of(cell.profile), "--format", cell.format->name, "--try",
          set.rendererID + ' ' + name_of(cell.question)},
         options.limit},
        [&](Stream stream, std::string_view text) { return lines.take(stream, text); });
    UseInspection inspection{set.id, set.renderer.value_or("renderer " + set.rendererID), cell};
    inspection.recorded = recorded_verdict(set, cell);
    inspection.isOfPresentBuild = set.isPresent;
    inspection.failure = describe_failure(end, options.limit);
    const auto record = survey::read_record(lines.record);
    if (inspection.failure.empty() && record && record->uses.count(cell.question) != 0) {
        inspection.now = record->uses.at(cell.question);
    } else if (!lines.trouble.empty()) {
        inspection.failure += (inspection.failure.empty() ? "" : ": ") + lines.trouble;
    } else if (inspection.failure.empty()) {
        inspection.failure = "has said nothing";
    }
    const ComparedTexels& texels = lines.texels;
    const bool isWhole = texels.width != 0 && !texels.pairs.empty() &&
                         texels.pairs.size() % texels.width == 0 && texels.components >= 1 &&
                         texels.components <= 4;
    if (inspection.now && isWhole) inspection.texels = texels;
    return inspection;
}

}  // namespace texprobe::ctl
