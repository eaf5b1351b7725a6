// A repeated test of the tool, and a repeated question of the survey.

#include <fmt/format.h>

#include <algorithm>

#include "inspect/gl_names.h"
#include "inspect/inspect.h"
#include "inspect/inspected_use.h"
#include "records/plain_text.h"
#include "text/text_pieces.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

/// Both kinds have it.
template <class Inspected>
void write_finding(const Inspected& inspection, const std::string& sentence,
                   const Terminal& terminal, std::ostream& stream) {
    const std::string title = words_of(inspection.cell) + " on " + plain(inspection.renderer);
    stream << coloured(title, kBold, terminal) << '\n' << plain(inspection.id) << "\n\n";
    stream << wrapped(sentence, 0) << "\n\n";
}

void write_item(const char* name, const std::string& text, std::ostream& stream) {
    constexpr std::size_t kIndent = 15;
    stream << fmt::format("{:<{}}{}\n", name, kIndent, wrapped(text, kIndent));
}

const char* describe_agreement(bool isSame) {
    return isSame ? "; they agree" : "; they do not agree";
}

const char* describe_present(bool isOfPresentBuild) {
    return isOfPresentBuild ? "" : ", under another build";
}

void write_verdicts(const Inspection& inspection, std::ostream& stream) {
    write_item(
        "recorded",
        show_verdict(inspection.recorded, {}).text + describe_present(inspection.isOfPresentBuild),
        stream);
    std::string now = "none";
    if (inspection.verdict) {
        const bool isYes = inspection.recorded == Verdict::kYes;
        now = *inspection.verdict ? "yes" : "no";
        if (isYes || is_failure(inspection.recorded)) {
            now += describe_agreement(isYes == *inspection.verdict);
        }
    }
    write_item("this run", now, stream);
    if (inspection.score) {
        write_item("score",
                   fmt::format("{:g} % (99 % is a match), distance {}", inspection.score->percent,
                               inspection.score->distance),
                   stream);
    }
    write_item("tests before",
               inspection.isAlone ? "none (--alone)" : "replayed, as in a first run", stream);
}

std::string layout_words(const Image& image) {
    return fmt::format("{}, {}", gl_name(image.layout.format), gl_name(image.layout.type));
}

void write_channels(const Analysis& analysis, std::ostream& stream) {
    stream << fmt::format("\n{:<11}{:>14}{:>14}{:>20}  {}\n", "channel", "largest error",
                          "mean error", "pixels that differ", "first at");
    for (const ChannelErrors& errors : analysis.channels) {
        stream << fmt::format("{:<11}{:>14.6g}{:>14.4g}{:>20}", name_of(errors.channel),
                              errors.largest, errors.mean, errors.pixels);
        if (errors.first) {
            stream << fmt::format("  row {}, column {}", errors.first->row, errors.first->column);
        }
        stream << '\n';
    }
    stream << (analysis.steps ? fmt::format("Errors are in steps of 1/{}.\n", *analysis.steps)
                              : "Errors are differences of values from 0 to 1.\n");
}

void write_call(const InspectedCall& call, const Terminal& terminal, std::ostream& stream) {
    const std::string result = call.result.empty() ? "" : " = " + call.result;
    stream << "  " << wrapped(call.text + result, 6, ", ") << '\n';
    if (!call.chosen.empty()) stream << "      the driver chose " << call.chosen << '\n';
    for (const std::string& error : call.errors) {
        stream << "      " << coloured(error, "31", terminal) << '\n';
    }
    if (!call.hasReturned) stream << "      did not return\n";
}

void write_calls(const Inspection& inspection, const Terminal& terminal, std::ostream& stream) {
    stream << "\nThe calls of the test, and what OpenGL reported after each:\n";
    for (const std::string& error : inspection.pendingErrors) {
        stream << "  " << error << " was left by the tests before\n";
    }
    bool hasError = false;
    for (const InspectedCall& call : inspection.calls) {
        hasError |= !call.errors.empty();
        write_call(call, terminal, stream);
    }
    if (hasError) return;
    // In a run without an end nothing is known of the last call.
    stream << (inspection.verdict ? "No call has reported an error.\n"
                                  : "No call that returned has reported an error.\n");
}

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
           describe_present(inspection.isOfPresentBuild);
}

std::string present_words(const UseInspection& inspection) {
    if (!inspection.now) return "none";
    std::string words = spaced_name(inspection.now->verdict);
    if (!inspection.recorded) return words;
    return words + describe_agreement(inspection.recorded->verdict == inspection.now->verdict);
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

void write_inspection_text(const Inspection& inspection, bool hasCalls, const Terminal& terminal,
                           std::ostream& stream) {
    write_finding(inspection, inspection.sentence, terminal, stream);
    write_verdicts(inspection, stream);
    if (inspection.evidence) {
        write_item("sent", layout_words(inspection.evidence->sent), stream);
        write_item("came back", layout_words(inspection.evidence->returned), stream);
    }
    if (inspection.analysis) write_channels(*inspection.analysis, stream);
    if (hasCalls && !inspection.calls.empty()) write_calls(inspection, terminal, stream);
}

void write_inspection_text(const UseInspection& inspection, const Terminal& terminal,
                           std::ostream& stream) {
    write_finding(inspection, sentence_of(inspection), terminal, stream);
    write_item("recorded", recorded_words(inspection), stream);
    write_item("this run", present_words(inspection), stream);
    if (inspection.texels) write_components(*inspection.texels, stream);
}

void write_findings_text(const std::vector<Inspection>& inspections, std::ostream& stream) {
    Folded<> findings;
    for (const Inspection& each : inspections) fold(each.sentence, words_of(each.cell), &findings);
    const char* between = "";
    for (const auto& [sentence, tests] : findings) {
        stream << between << wrapped(sentence, 0) << '\n';
        for (const std::string& test : tests) stream << "  " << test << '\n';
        between = "\n";
    }
}

}  // namespace texprobe::ctl
