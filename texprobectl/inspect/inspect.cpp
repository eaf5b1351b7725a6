#include "inspect/inspect.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

#include "inspect/child/inspected_test.h"
#include "measure/tool_output.h"
#include "process/child.h"
#include "process/private_folder.h"

namespace texprobe::ctl {

namespace {

/// How many patterns the tool had made, in a first run on all renderers, before this one: each
/// transfer test takes one of the numbers by which patterns differ.
unsigned count_patterns_before(const RecordSet& set, const RecordSets& all,
                               const Machine& machine) {
    unsigned count = 0;
    for (const std::uint32_t renderer : machine.renderers) {
        const std::string id = make_id(hexadecimal(renderer), machine.systemBuild);
        if (hexadecimal(renderer) == set.rendererID) break;
        const auto found = std::find_if(all.begin(), all.end(),
                                        [&](const RecordSet& other) { return other.id == id; });
        if (found == all.end()) continue;
        for_each_cell([&](const Cell& cell) {
            const Verdict verdict = found->verdict(cell);
            count += is_transfer(cell.capability) &&
                     (verdict == Verdict::kYes || verdict == Verdict::kNo);
        });
    }
    return count;
}

struct NamedImage {
    std::string name;
    std::size_t test = 0;
    Layout layout;
};

/// The contents of the child's lines.
struct ChildReport {
    /// True for a line that shows progress.
    bool take(Stream stream, std::string_view text) {
        const std::string line(text);
        return stream == Stream::kOutput ? take_own(line) : take_tool(line);
    }

    std::optional<bool> verdict(const Cell& cell) const {
        const auto found = verdicts.find(number_of(cell));
        return found == verdicts.end() ? std::nullopt : std::optional(found->second);
    }

    bool take_own(const std::string& text) {
        std::istringstream words(text);
        std::string kind;
        words >> kind;
        std::string rest;
        std::getline(words >> std::ws, rest);
        if (kind == "test") {
            std::size_t number = 0;
            const bool isCell = std::istringstream(rest) >> number && number < kCellCount;
            if (isCell) lastTest = cell_of(number);
        } else if (kind == "verdict") {
            std::size_t number = 0;
            bool verdict = false;
            if (std::istringstream(rest) >> number >> verdict) verdicts[number] = verdict;
        } else if (kind == "image") {
            std::istringstream fields(rest);
            NamedImage image;
            fields >> image.name >> image.test >> image.layout.format >> image.layout.type;
            if (fields && bytes_per_pixel(image.layout) != 0) images.push_back(image);
        } else if (kind == line::kPending) {
            pendingErrors.push_back(rest);
        } else if (kind == line::kCall) {
            calls.push_back({rest, {}, {}, {}, false});
        } else if (!calls.empty()) {
            take_outcome(kind, rest);
        }
        return true;
    }

    void take_outcome(const std::string& kind, const std::string& rest) {
        InspectedCall& call = calls.back();
        if (kind == line::kResult) call.result = rest;
        if (kind == line::kError) call.errors.push_back(rest);
        if (kind == line::kChosen) call.chosen = rest;
        if (kind == line::kReturned) call.hasReturned = true;
    }

    bool take_tool(const std::string& text) {
        if (text == kTestBegins) score.reset();
        const std::size_t at = text.find("test_check_data score: ");
        Inspection::Score found;
        if (at != std::string::npos &&
            std::sscanf(text.c_str() + at, "test_check_data score: %lg%% (dist: %llu",
                        &found.percent, &found.distance) == 2) {
            score = found;
        }
        const ToolEvent event = parse_line(text);
        if (const auto* said = std::get_if<ToolTrouble>(&event)) trouble = said->text;
        constexpr std::string_view kOwn = "texprobectl: ";
        if (text.rfind(kOwn, 0) == 0 && text != kTestBegins) trouble = text.substr(kOwn.size());
        return false;
    }

    std::vector<InspectedCall> calls;
    std::vector<std::string> pendingErrors;
    std::vector<NamedImage> images;
    std::optional<Inspection::Score> score;
    /// The test in hand when the child ended.
    std::optional<Cell> lastTest;
    std::map<std::size_t, bool> verdicts;
    /// The last thing that was complained about.
    std::string trouble;
};

Image read_image(const PrivateFolder& folder, const NamedImage& named) {
    std::ifstream stream(folder.file(named.name + '.' + std::to_string(named.test)),
                         std::ios::binary);
    return {named.layout, {std::istreambuf_iterator<char>(stream), {}}};
}

std::optional<Evidence> collect_evidence(const PrivateFolder& folder, const ChildReport& report,
                                         const Cell& cell) {
    Evidence evidence;
    bool hasSent = false;
    bool hasReturned = false;
    for (const NamedImage& named : report.images) {
        Image image = read_image(folder, named);
        if (named.test != number_of(cell)) {
            if (named.name != kKeptImage) {
                evidence.earlier.push_back({words_of(cell_of(named.test)), std::move(image)});
            }
        } else if (named.name == kSentImage) {
            hasSent = true;
            evidence.sent = std::move(image);
        } else if (named.name == kReturnedImage) {
            hasReturned = true;
            evidence.returned = std::move(image);
        } else {
            evidence.kept = std::move(image);
        }
    }
    return hasSent && hasReturned ? std::optional(std::move(evidence)) : std::nullopt;
}

/// Why there is no verdict.
std::string describe_end(const ChildReport& report, const Cell& cell, const std::string& failure) {
    const std::string reason = report.trouble.empty() ? "" : " (" + report.trouble + ")";
    if (!report.lastTest) {
        return fmt::format("The renderer could not be set up: the process {}{}.", failure, reason);
    }
    if (!(*report.lastTest == cell)) {
        return fmt::format(
            "The test was not reached: that of {}, which comes before it, {}{}; --alone does "
            "without those.",
            words_of(*report.lastTest), failure, reason);
    }
    if (report.calls.empty()) return fmt::format("The test {}{}.", failure, reason);
    const InspectedCall& last = report.calls.back();
    return fmt::format("The test {}{}: it was {} {}.", failure, reason,
                       last.hasReturned ? "after" : "in",
                       last.text + (last.result.empty() ? "" : ", which gave " + last.result));
}

/// Why the test was not run.
std::string describe_precondition(const ChildReport& report, const Cell& cell) {
    Cell missing = cell;
    while (const auto needed = precondition(missing.capability)) {
        missing.capability = *needed;
        if (report.verdict(missing)) break;
    }
    return fmt::format(
        "The test was not run, because it needs {}, which is a no; --alone runs it anyhow.",
        words_of(missing));
}

/// The first error that OpenGL has reported; the others mostly follow from it.
std::string describe_errors(const ChildReport& report) {
    for (const InspectedCall& call : report.calls) {
        if (call.errors.empty()) continue;
        return fmt::format(" OpenGL reported {} after {}.", call.errors.front(),
                           call.text.substr(0, call.text.find('(')));
    }
    return "";
}

void decide(const InspectOptions& options, const ChildReport& report, const std::string& failure,
            Inspection* inspection) {
    if (!failure.empty()) {
        inspection->sentence = describe_end(report, options.cell, failure);
        return;
    }
    inspection->verdict = report.verdict(options.cell);
    inspection->score = report.score;
    if (!inspection->verdict) {
        inspection->sentence = describe_precondition(report, options.cell);
    } else if (!inspection->evidence) {
        inspection->sentence =
            "The renderer lacks pixel buffer objects or framebuffer objects, without which the "
            "test is a no.";
    } else {
        inspection->evidence->verdict = *inspection->verdict;
        inspection->analysis = analyse(*inspection->evidence);
        inspection->sentence = inspection->analysis->sentence + describe_errors(report);
    }
}

}  // namespace

Inspection inspect(const InspectOptions& options, const RecordSet& set, const RecordSets& all,
                   const Machine& machine) {
    const PrivateFolder folder;
    InspectionOrder order;
    order.folder = folder.path();
    order.renderer = static_cast<std::uint32_t>(std::stoul(set.rendererID, nullptr, 16));
    order.cell = options.cell;
    order.patternsBefore = count_patterns_before(set, all, machine);
    order.isAlone = options.isAlone;
    ChildReport report;
    const RunEnd end = run_child(
        {options.self, kInspectTask, words_of(order), options.limit,
         [&](Stream stream, std::string_view text) { return report.take(stream, text); }});

    Inspection inspection;
    inspection.id = set.id;
    inspection.renderer = set.renderer.value_or("unknown renderer");
    inspection.cell = options.cell;
    inspection.isAlone = options.isAlone;
    inspection.recorded = set.verdict(options.cell);
    inspection.isOfPresentBuild = set.systemBuild == machine.systemBuild;
    inspection.calls = report.calls;
    inspection.pendingErrors = report.pendingErrors;
    inspection.evidence = collect_evidence(folder, report, options.cell);
    decide(options, report, describe_failure(end, options.limit), &inspection);
    return inspection;
}

}  // namespace texprobe::ctl
