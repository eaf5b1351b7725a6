#include <fmt/format.h>

#include <algorithm>

#include "inspect/gl_names.h"
#include "inspect/inspect.h"
#include "records/plain_text.h"
#include "text/text_matrix.h"
#include "text/wrapped.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

class InspectionText {
public:
    InspectionText(const Inspection& inspection, const Terminal& terminal, std::ostream& stream)
        : inspection_(inspection), terminal_(terminal), stream_(stream) {}

    void write(bool hasCalls) {
        const std::string title = words_of(inspection_.cell) + " on " + plain(inspection_.renderer);
        stream_ << coloured(title, kBold, terminal_) << '\n' << plain(inspection_.id) << "\n\n";
        stream_ << wrapped(inspection_.sentence, 0) << "\n\n";
        write_verdicts();
        if (inspection_.evidence) write_layouts();
        if (inspection_.analysis) write_channels();
        if (hasCalls) write_calls();
    }

private:
    void item(const char* name, const std::string& text) {
        constexpr std::size_t kIndent = 15;
        stream_ << fmt::format("{:<{}}{}\n", name, kIndent, wrapped(text, kIndent));
    }

    std::string describe_agreement() const {
        const bool isYes = inspection_.recorded == Verdict::kYes;
        if (!isYes && !is_failure(inspection_.recorded)) return "";
        return isYes == *inspection_.verdict ? "; they agree" : "; they do not agree";
    }

    void write_verdicts() {
        item("recorded", show_verdict(inspection_.recorded, {}).text +
                             (inspection_.isOfPresentBuild ? "" : ", under another build"));
        if (inspection_.verdict) {
            item("this run", (*inspection_.verdict ? "yes" : "no") + describe_agreement());
        } else {
            item("this run", "none");
        }
        if (inspection_.score) {
            item("score", fmt::format("{:g} % (99 % is a match), distance {}",
                                      inspection_.score->percent, inspection_.score->distance));
        }
        item("tests before",
             inspection_.isAlone ? "none (--alone)" : "replayed, as in a first run");
    }

    void write_layouts() {
        const auto describe = [](const Image& image) {
            return fmt::format("{}, {}", gl_name(image.layout.format), gl_name(image.layout.type));
        };
        item("sent", describe(inspection_.evidence->sent));
        item("came back", describe(inspection_.evidence->returned));
    }

    void write_channels() {
        const Analysis& analysis = *inspection_.analysis;
        stream_ << fmt::format("\n{:<11}{:>14}{:>14}{:>20}  {}\n", "channel", "largest error",
                               "mean error", "pixels that differ", "first at");
        for (const ChannelErrors& errors : analysis.channels) {
            const std::string first =
                errors.first
                    ? fmt::format("row {}, column {}", errors.first->row, errors.first->column)
                    : "";
            const std::string line =
                fmt::format("{:<11}{:>14.6g}{:>14.4g}{:>20}  {}", name_of(errors.channel),
                            errors.largest, errors.mean, errors.pixels, first);
            stream_ << line.substr(0, line.find_last_not_of(' ') + 1) << '\n';
        }
        stream_ << (analysis.steps ? fmt::format("Errors are in steps of 1/{}.\n", *analysis.steps)
                                   : "Errors are differences of values from 0 to 1.\n");
    }

    void write_calls() {
        if (inspection_.calls.empty()) return;
        stream_ << "\nThe calls of the test, and what OpenGL reported after each:\n";
        std::size_t errors = 0;
        for (const std::string& error : inspection_.pendingErrors) {
            stream_ << "  " << error << " was left by the tests before\n";
        }
        for (const InspectedCall& call : inspection_.calls) {
            errors += call.errors.size();
            write_call(call);
        }
        if (errors > 0) return;
        // In a run without an end nothing is known of the last call.
        stream_ << (inspection_.verdict ? "No call has reported an error.\n"
                                        : "No call that returned has reported an error.\n");
    }

    void write_call(const InspectedCall& call) {
        std::string text = call.text;
        if (!call.result.empty()) text += " = " + call.result;
        stream_ << "  " << wrapped(text, 6, ", ") << '\n';
        if (!call.chosen.empty()) stream_ << "      the driver chose " << call.chosen << '\n';
        for (const std::string& error : call.errors) {
            stream_ << "      " << coloured(error, "31", terminal_) << '\n';
        }
        if (!call.hasReturned) stream_ << "      did not return\n";
    }

    const Inspection& inspection_;
    const Terminal& terminal_;
    std::ostream& stream_;
};

}  // namespace

void write_inspection_text(const Inspection& inspection, bool hasCalls, const Terminal& terminal,
                           std::ostream& stream) {
    InspectionText(inspection, terminal, stream).write(hasCalls);
}

void write_findings_text(const std::vector<Inspection>& inspections, std::ostream& stream) {
    // Each sentence once, with all of its tests.
    std::vector<std::pair<std::string, std::string>> findings;
    for (const Inspection& each : inspections) {
        auto same = std::find_if(findings.begin(), findings.end(), [&](const auto& finding) {
            return finding.first == each.sentence;
        });
        if (same == findings.end()) same = findings.insert(same, {each.sentence, ""});
        same->second += "  " + words_of(each.cell) + '\n';
    }
    const char* between = "";
    for (const auto& [sentence, tests] : findings) {
        stream << between << wrapped(sentence, 0) << '\n' << tests;
        between = "\n";
    }
}

}  // namespace texprobe::ctl
