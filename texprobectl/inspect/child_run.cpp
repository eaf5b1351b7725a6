#include "inspect/child_run.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>

#include "measure/tool_output.h"

namespace texprobe::ctl {

namespace {

/// How many patterns the tool had made, in a first run on all renderers, before this one: each
/// transfer test takes one of the numbers by which patterns differ.
unsigned count_patterns_before(const KnownMachine& known) {
    unsigned count = 0;
    for (const std::uint32_t renderer : known.machine.renderers) {
        const std::string id = make_id(hexadecimal(renderer), known.machine.systemBuild);
        if (hexadecimal(renderer) == known.set.rendererID) break;
        const auto found = std::find_if(known.all.begin(), known.all.end(),
                                        [&](const RecordSet& other) { return other.id == id; });
        if (found == known.all.end()) continue;
        for_each_cell([&](const Cell& cell) {
            const Verdict verdict = found->verdict(cell);
            count += is_transfer(cell.capability) &&
                     (verdict == Verdict::kYes || verdict == Verdict::kNo);
        });
    }
    return count;
}

}  // namespace

bool ChildReport::take(Stream stream, std::string_view text) {
    const bool isOwn = stream == Stream::kOutput;
    isOwn ? take_own(std::string(text)) : take_tool(std::string(text));
    return isOwn;
}

std::optional<bool> ChildReport::verdict(const Cell& cell) const {
    const auto found = verdicts.find(number_of(cell));
    return found == verdicts.end() ? std::nullopt : std::optional(found->second);
}

void ChildReport::take_own(const std::string& text) {
    std::istringstream words(text);
    std::string kind;
    words >> kind >> std::ws;
    std::size_t number = 0;
    if (kind == "test") {
        if (words >> number && number < kCellCount) lastTest = cell_of(number);
    } else if (kind == "verdict") {
        bool verdict = false;
        if (words >> number >> verdict) verdicts[number] = verdict;
    } else if (kind == "image") {
        NamedImage image;
        words >> image.name >> image.test >> image.layout.format >> image.layout.type;
        if (words) images.push_back(image);
    } else {
        std::string rest;
        std::getline(words, rest);
        take_of_recorder(kind, rest);
    }
}

void ChildReport::take_of_recorder(const std::string& kind, const std::string& rest) {
    if (kind == line::kPending) pendingErrors.push_back(rest);
    if (kind == line::kCall) calls.push_back({rest, {}, {}, {}, false});
    if (calls.empty()) return;
    InspectedCall& call = calls.back();
    if (kind == line::kResult) call.result = rest;
    if (kind == line::kError) call.errors.push_back(rest);
    if (kind == line::kChosen) call.chosen = rest;
    if (kind == line::kReturned) call.hasReturned = true;
}

void ChildReport::take_tool(const std::string& text) {
    if (text == kTestBegins) score.reset();
    const std::size_t at = text.find("test_check_data score: ");
    Inspection::Score found;
    if (at != std::string::npos &&
        std::sscanf(text.c_str() + at, "test_check_data score: %lg%% (dist: %llu", &found.percent,
                    &found.distance) == 2) {
        score = found;
    }
    const ToolLine line = parse_line(text);
    if (line.kind == ToolLine::kTrouble) trouble = line.text;
    constexpr std::string_view kOwn = "texprobectl: ";
    if (text.rfind(kOwn, 0) == 0 && text != kTestBegins) trouble = text.substr(kOwn.size());
}

ChildRun::ChildRun(const InspectOptions& options, const std::vector<Cell>& cells,
                   InspectionMode mode, const KnownMachine& known) {
    InspectionOrder order;
    order.folder = folder_.path();
    order.renderer = known.set.rendererID;
    order.cells = cells;
    order.patternsBefore = count_patterns_before(known);
    order.mode = mode;
    for_each_cell([&](const Cell& cell) {
        const Verdict verdict = known.set.verdict(cell);
        const bool hasDied = verdict == Verdict::kCrashed || verdict == Verdict::kHung;
        if (hasDied && !(cell == cells.back())) order.leftOut.push_back(cell);
    });
    const RunEnd end = run_child(
        {options.self, kInspectTask, words_of(order), options.limit,
         [&](Stream stream, std::string_view text) { return report_.take(stream, text); }});
    failure_ = describe_failure(end, options.limit);
}

Image ChildRun::read_image(const NamedImage& named) const {
    std::ifstream stream(folder_.file(named.name + '.' + std::to_string(named.test)),
                         std::ios::binary);
    return {named.layout, {std::istreambuf_iterator<char>(stream), {}}};
}

std::optional<Evidence> ChildRun::evidence(const Cell& cell) const {
    Evidence evidence;
    for (const NamedImage& named : report_.images) {
        if (named.test > number_of(cell)) break;
        Image image = read_image(named);
        if (named.test != number_of(cell)) {
            if (named.name != kKeptImage) {
                evidence.earlier.push_back({words_of(cell_of(named.test)), std::move(image)});
            }
        } else if (named.name == kSentImage) {
            evidence.sent = std::move(image);
        } else if (named.name == kReturnedImage) {
            evidence.returned = std::move(image);
        } else {
            evidence.kept = std::move(image);
        }
    }
    if (evidence.sent.bytes.empty() || evidence.returned.bytes.empty()) return std::nullopt;
    evidence.verdict = report_.verdict(cell).value_or(false);
    return evidence;
}

}  // namespace texprobe::ctl
