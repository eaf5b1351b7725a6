#include <fmt/format.h>
#include <table/record_keys.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "records/plain_text.h"
#include "text/text_pieces.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

Shown show_use(const survey::Format& format, const survey::Question& question,
               survey::Profile profile, const survey::FormatRecord& record,
               const Terminal& terminal) {
    if (!has_question(format, question, profile)) return {};
    const auto found = record.uses.find(question);
    if (found == record.uses.end()) return show_verdict(Verdict::kUnmeasured, terminal);
    switch (found->second.verdict) {
        case survey::Verdict::kYes:
            return show_verdict(Verdict::kYes, terminal);
        case survey::Verdict::kNotApplicable:
            return show_verdict(Verdict::kNotApplicable, terminal);
        case survey::Verdict::kUnknown:
            return {word_of(record, question), "33"};
        default:
            return {word_of(record, question), is_told(found->second.verdict) ? "1;31" : ""};
    }
}

/// The verdicts in one layout: "yes", "read, read_part no; otherwise yes". Empty if nothing is
/// asked.
std::string describe_layout(const survey::Format& format, const survey::Layout& layout,
                            survey::Profile profile, const survey::FormatRecord& record) {
    std::map<std::string, std::vector<std::string>> uses;  // By their verdict in words.
    for (const survey::Use use : survey::kUses) {
        if (!has_question(format, {use, layout}, profile)) continue;
        uses[word_of(record, {use, layout})].push_back(name_of(use));
    }
    if (uses.size() == 1) return uses.begin()->first;
    const auto most = std::max_element(uses.begin(), uses.end(), [](const auto& a, const auto& b) {
        return a.second.size() < b.second.size();
    });
    std::string text;
    for (auto each = uses.begin(); each != uses.end(); ++each) {
        if (each != most) text += joined(each->second) + ' ' + each->first + "; ";
    }
    return uses.empty() ? text : text + "otherwise " + most->first;
}

/// The survey of one record set.
class SurveyText {
public:
    SurveyText(const RecordSet& set, const SurveyChoice& choice, const Terminal& terminal,
               std::ostream& stream)
        : set_(set), choice_(choice), terminal_(terminal), stream_(stream) {
        for (const SurveyedProfile& profile : set.survey) {
            if (!choice.has(profile.profile)) continue;
            (profile.lack.empty() ? profiles_ : lacking_).push_back(&profile);
        }
        for (std::size_t i = 0; i < survey::formats().size(); ++i) {
            if (choice.has(survey::formats()[i])) formats_.push_back(i);
        }
    }

    void write() {
        write_heading();
        write_sentences();
        for (const SurveyedProfile* profile : profiles_) write_matrix_of(*profile);
        write_legend();
    }

private:
    template <class Tell>
    void for_each_verdict(Tell tell) const {
        for (const SurveyedProfile* profile : profiles_) {
            for (const std::size_t i : formats_) {
                const survey::Format& format = survey::formats()[i];
                for (const auto& [question, judged] : profile->formats[i].uses) {
                    if (has_question(format, question, profile->profile)) {
                        tell(*profile, format, question, judged);
                    }
                }
            }
        }
    }

    void write_heading() {
        stream_ << coloured(set_.renderer.value_or("renderer " + set_.rendererID), kBold, terminal_)
                << '\n'
                << set_.id << '\n';
        const std::string missing = describe_missing(set_.survey, choice_, set_.rendererID);
        stream_ << (missing.empty() ? "complete" : missing) << "; "
                << (set_.isPresent ? "of" : "not of") << " its machine's present build\n\n";
    }

    /// One that holds in several contexts is told once.
    void write_sentences() {
        bool isBroken = false;
        for (const SurveyedProfile* profile : lacking_) {
            stream_ << describe_lack(*profile) << '\n';
            isBroken |= profile->lack != survey::kContextNotOffered;
        }
        Folded<std::pair<std::string, std::string>> sentences;
        for_each_verdict([&](const SurveyedProfile& profile, const survey::Format& format,
                             const survey::Question& question, const survey::Judged& judged) {
            if (!is_told(judged.verdict)) return;
            const bool hasDied = judged.verdict == survey::Verdict::kCrashed ||
                                 judged.verdict == survey::Verdict::kHung;
            const std::string told =
                fmt::format("{} {} {}{}{}", name_of(question), hasDied ? "has" : "is",
                            name_of(judged.verdict), judged.text.empty() ? "" : ", ", judged.text);
            fold({format.name, told}, ctl::words_of(profile.profile), &sentences);
        });
        for (const auto& [sentence, contexts] : sentences) {
            stream_ << wrapped(fmt::format("{} in {}: {}", sentence.first,
                                           joined(contexts, " and "), sentence.second),
                               2)
                    << '\n';
        }
        if (!isBroken && sentences.empty() && describe_missing(set_.survey, choice_, "").empty()) {
            stream_ << "No promise is broken.\n";
        }
        stream_ << '\n';
    }

    void write_matrix_of(const SurveyedProfile& profile) {
        using survey::Use;
        stream_ << coloured(ctl::words_of(profile.profile), kBold, terminal_) << ": "
                << profile.glVersion.value_or("no context yet") << '\n';
        write_table(profile, "",
                    {{"create", Use::kCreate},
                     {"storage", Use::kCreateStorage},
                     {"filter", Use::kFilter},
                     {"mipmap", Use::kMipmap},
                     {"render", Use::kRender},
                     {"blend", Use::kBlend}});
        write_table(profile, "GL_COMPRESSED_",
                    {{"create", Use::kCreate},
                     {"storage", Use::kCreateStorage},
                     {"filter", Use::kFilter},
                     {"upload", Use::kUpload},
                     {"part", Use::kUploadPart},
                     {"buffer", Use::kUploadBuffer}});
        write_layouts_of(profile);
        stream_ << '\n';
    }

    /// Of the formats whose names begin so, without that; nothing where there is none to show.
    void write_table(const SurveyedProfile& profile, const std::string& beginning,
                     const std::vector<std::pair<const char*, survey::Use>>& columns) {
        std::vector<Shown> heading;
        heading.reserve(columns.size());
        for (const auto& column : columns) heading.push_back({column.first});
        for (const std::size_t i : formats_) {
            const survey::Format& format = survey::formats()[i];
            if (format.is_compressed() == beginning.empty()) continue;
            if (!heading.empty()) {
                stream_ << row_of(beginning.empty() ? "" : beginning + "...", heading, terminal_)
                        << '\n';
            }
            heading.clear();
            std::vector<Shown> row;
            row.reserve(columns.size());
            for (const auto& column : columns) {
                row.push_back(show_use(format, column.second, profile.profile, profile.formats[i],
                                       terminal_));
            }
            stream_ << row_of(format.name + beginning.size(), row, terminal_) << '\n';
        }
    }

    /// Formats together of which the same is said in all layouts, and then the others.
    void write_layouts_of(const SurveyedProfile& profile) {
        Folded<> alike;
        std::vector<std::string> lines;
        for (const std::size_t i : formats_) {
            const survey::Format& format = survey::formats()[i];
            Folded<> layouts;
            for (const survey::Layout& layout : layouts_of(format)) {
                const std::string said =
                    describe_layout(format, layout, profile.profile, profile.formats[i]);
                if (!said.empty()) fold(said, name_of(layout), &layouts);
            }
            if (layouts.size() == 1) fold(layouts.front().first, format.name, &alike);
            for (const auto& [said, names] : layouts) {
                if (layouts.size() == 1) break;
                lines.push_back(fmt::format("  {} in {}: {}", format.name, joined(names), said));
            }
        }
        if (alike.empty() && lines.empty()) return;
        stream_ << "transfers:\n";
        for (const auto& [said, names] : alike) {
            stream_ << wrapped(fmt::format("  {} in each layout: {}", said, joined(names)), 4)
                    << '\n';
        }
        for (const std::string& line : lines) stream_ << wrapped(line, 4) << '\n';
    }

    void write_legend() {
        std::set<survey::Verdict> verdicts;
        std::map<std::string, int> unknown;
        for_each_verdict([&](const SurveyedProfile&, const survey::Format&, const survey::Question&,
                             const survey::Judged& judged) {
            verdicts.insert(judged.verdict);
            if (judged.verdict == survey::Verdict::kUnknown) ++unknown[judged.text];
        });
        if (verdicts.count(survey::Verdict::kNotOffered) != 0) {
            stream_ << "no: it does not work, and was not promised\n";
        }
        if (verdicts.count(survey::Verdict::kNotApplicable) != 0) {
            stream_ << show_verdict(Verdict::kNotApplicable, terminal_).text
                    << ": not applicable, because the format cannot be created\n";
        }
        for (const auto& [text, count] : unknown) {
            stream_ << wrapped(fmt::format("unknown, {} of them: {}", count, text), 2) << '\n';
        }
    }

    const RecordSet& set_;
    const SurveyChoice& choice_;
    const Terminal& terminal_;
    std::ostream& stream_;
    /// Those that were chosen.
    std::vector<const SurveyedProfile*> profiles_;
    /// Without a context.
    std::vector<const SurveyedProfile*> lacking_;
    /// By their places in the survey's table.
    std::vector<std::size_t> formats_;
};

}  // namespace

void write_survey_text(const RecordSets& sets, const SurveyChoice& choice, const Terminal& terminal,
                       std::ostream& stream) {
    const char* between = "";
    for (const RecordSet& set : sets) {
        stream << between;
        between = "\n";
        SurveyText(plain(set), choice, terminal, stream).write();
    }
}

}  // namespace texprobe::ctl
