#include <fmt/format.h>

#include <algorithm>

#include "inspect/inspected_use.h"
#include "records/plain_text.h"
#include "text/text_matrix.h"
#include "text/wrapped.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

std::string spaced_name(survey::Verdict verdict) {
    std::string words = name_of(verdict);
    std::replace(words.begin(), words.end(), '_', ' ');
    return words;
}

std::string sentence_of(const UseInspection& inspection) {
    if (!inspection.now) {
        return "texprobe-survey " + inspection.failure + ". No record has changed.";
    }
    const auto& [verdict, text] = *inspection.now;
    if (!text.empty()) return text + '.';
    return verdict == survey::Verdict::kYes
               ? "It holds."
               : "The format cannot be created, or cannot be rendered to.";
}

std::string recorded_words(const UseInspection& inspection) {
    if (!inspection.recorded) return "not measured";
    const auto& [verdict, text] = *inspection.recorded;
    const bool isTold = inspection.now && inspection.now->text == text;
    return spaced_name(verdict) + (text.empty() || isTold ? "" : ": " + text) +
           (inspection.isOfPresentBuild ? "" : ", under another build");
}

std::string present_words(const UseInspection& inspection) {
    if (!inspection.now) return "none";
    std::string words = spaced_name(inspection.now->verdict);
    if (!inspection.recorded) return words;
    const bool isSame = inspection.recorded->verdict == inspection.now->verdict;
    return words + (isSame ? "; they agree" : "; they do not agree");
}

void write_components(const ComparedTexels& texels, std::ostream& stream) {
    const auto first = texels.first_wrong();
    stream << fmt::format(
        "{:<15}{} x {} texels, {}\n", "compared", texels.width, texels.height(),
        first ? fmt::format("of which {} are wrong, the first at {}, {}", texels.count_wrong(),
                            *first % texels.width, *first / texels.width)
              : "all of them right");
    if (!first) return;
    const ComparedTexels::Pair& pair = texels.pairs[*first];
    stream << fmt::format("\n{:<11}{:>16}{:>16}{:>16}{:>20}\n", "component", "expected there",
                          "came there", "largest error", "texels that differ");
    for (std::size_t c = 0; c < texels.components; ++c) {
        const ComparedTexels::Errors errors = texels.errors(c);
        stream << fmt::format("{:<11}{:>16.9g}{:>16.9g}{:>16.6g}{:>20}\n", texels.name(c),
                              pair.expected[c], pair.came[c], errors.largest, errors.texels);
    }
}

}  // namespace

void write_inspection_text(const UseInspection& inspection, const Terminal& terminal,
                           std::ostream& stream) {
    const std::string title = words_of(inspection.cell) + " on " + plain(inspection.renderer);
    stream << coloured(title, kBold, terminal) << '\n' << plain(inspection.id) << "\n\n";
    stream << wrapped(sentence_of(inspection), 0) << "\n\n";
    const std::pair<const char*, std::string> items[] = {{"recorded", recorded_words(inspection)},
                                                         {"this run", present_words(inspection)}};
    for (const auto& [name, words] : items) {
        stream << fmt::format("{:<15}{}\n", name, wrapped(words, 15));
    }
    if (inspection.texels) write_components(*inspection.texels, stream);
}

}  // namespace texprobe::ctl
