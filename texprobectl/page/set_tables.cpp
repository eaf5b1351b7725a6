#include "page/set_tables.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "records/plain_text.h"
#include "text/text_matrix.h"

namespace texprobe::ctl {

namespace {

const char* word(Verdict verdict) {
    switch (verdict) {
        case Verdict::kUnmeasured:
            return "untested";
        case Verdict::kNotApplicable:
            return "n/a";
        default:
            return name_of(verdict);
    }
}

const char* word_of(std::optional<survey::Verdict> verdict) {
    if (!verdict) return "untested";
    return *verdict == survey::Verdict::kNotOffered ? "no" : name_of(*verdict);
}

/// One part for each verdict: "no: render, blend". It leads to the first explanation.
void add_use(const PagePart& verdict, const std::string& use, PageCell* parts) {
    auto part = std::find_if(parts->begin(), parts->end(), [&](const PagePart& each) {
        return each.text.rfind(verdict.text + ": ", 0) == 0;
    });
    if (part == parts->end()) {
        parts->push_back({verdict.kind, verdict.text + ": " + use, verdict.link});
    } else if ((part->text + ", ").find(' ' + use + ", ") == std::string::npos) {
        // Not yet in another layout.
        part->text += ", " + use;
    }
}

template <class ToCell>
PageTable table_of_formats(const std::string& caption, ToCell toCell) {
    PageTable table = {caption, {"format"}, {}};
    for (const CapabilityNames& names : kCapabilities) table.columns.emplace_back(names.column);
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        std::vector<PageCell> cells;
        for (std::size_t i = 0; i < kCapabilityCount; ++i) {
            cells.push_back(toCell(Cell{format, static_cast<Capability>(i)}));
        }
        table.rows.emplace_back(kFormats[format].name, std::move(cells));
    }
    return table;
}

std::string sentence_of(const survey::Judged& judged) {
    using survey::Verdict;
    if (judged.verdict == Verdict::kNotOffered) {
        return (judged.text.empty() ? "It does not work" : judged.text) +
               "; nobody has promised it.";
    }
    return std::string(name_of(judged.verdict)) + (judged.text.empty() ? "" : ": ") + judged.text;
}

bool are_yes(const std::vector<PageCell>& cells) {
    return std::all_of(cells.begin(), cells.end(),
                       [](const PageCell& cell) { return cell.front().kind == "yes"; });
}

}  // namespace

/// As far as the records tell, or an inspection.
std::string SetTables::why(const Cell& cell) const {
    const bool isOfTest = set_.is_of_test(cell);
    if (pictured_ && pictured_->find(cell)) {
        return (isOfTest ? "no*: " : "") + plain(pictured_->find(cell)->sentence);
    }
    if (isOfTest) return std::string("no*: ") + kOfTest + ".";
    const Detail* const detail = set_.detail(cell);
    if (!detail) return "The test came back with a no; `texprobectl inspect` says why.";
    const bool wasEnded = std::holds_alternative<Crashed>(detail->cause);
    return (wasEnded ? "The test was " : "The test ") + describe(detail->cause) + ".";
}

PageCell SetTables::cell(const Cell& cell) {
    const Verdict verdict = set_.verdict(cell);
    const bool isOfTest = set_.is_of_test(cell);
    PagePart part = {isOfTest ? "of_test" : name_of(verdict),
                     word(verdict) + std::string(isOfTest ? "*" : "")};
    if (!is_failure(verdict)) return {part};
    const CapabilityNames& names = kCapabilities[cell.capability];
    part.link = whys_.add(Whys::kOfTool, why(cell),
                          {names.words, kFormats[cell.format].name, "", "", label_});
    const PicturedNo* const no = pictured_ ? pictured_->find(cell) : nullptr;
    if (no && no->pictures) whys_.show(words_of(cell), *no->pictures);
    return {part};
}

PageCell SetTables::cell(const SurveyedProfile& profile, std::size_t index) {
    using survey::Verdict;
    const survey::Format& format = survey::formats()[index];
    const survey::FormatRecord& record = profile.formats[index];
    if (record.uses.empty()) return {{"unmeasured", "untested"}};
    PageCell told;
    PageCell others;
    for (const survey::Question& question : questions_of(format, profile.profile)) {
        const auto found = record.uses.find(question);
        const bool isThere = found != record.uses.end();
        const auto verdict = isThere ? std::optional(found->second.verdict) : std::nullopt;
        if (verdict == Verdict::kYes || verdict == Verdict::kNotApplicable) continue;
        const bool isTold = verdict && is_told(*verdict);
        PagePart part = {isTold                            ? "crashed"
                         : verdict == Verdict::kNotOffered ? "some"
                                                           : "unmeasured",
                         word_of(verdict)};
        const std::string use = name_of(question.use);
        if (isThere) {
            const std::string layout = question.layout.is_none() ? "" : name_of(question.layout);
            part.link = whys_.add(isTold ? Whys::kBrokenPromise : Whys::kNoPromise,
                                  sentence_of(found->second),
                                  {use, format.name, layout, words_of(profile.profile), label_});
        }
        add_use(part, use, isTold ? &told : &others);
    }
    told.insert(told.end(), others.begin(), others.end());
    if (told.empty()) return {{"yes", "yes"}};
    return told;
}

PageCell SetTables::cell(const SurveyDifference& difference, const std::string& verdict) {
    const survey::Format* const format = survey::find_format(difference.format);
    if (!format) return {{verdict == "yes" ? "yes" : "some", verdict}};
    const auto profile = std::find_if(
        set_.survey.begin(), set_.survey.end(),
        [&](const SurveyedProfile& each) { return each.profile == difference.profile; });
    return cell(*profile, static_cast<std::size_t>(format - survey::formats().data()));
}

void SetTables::write_survey(PageSection* section) {
    PageTable table = {"The survey: formats of which something does not hold", {"format"}, {}};
    std::vector<const SurveyedProfile*> contexts;
    for (const SurveyedProfile& profile : set_.survey) {
        if (!profile.lack.empty()) {
            section->paragraph(describe_lack(profile));
            continue;
        }
        contexts.push_back(&profile);
        table.columns.emplace_back(profile.profile == survey::Profile::kCompatibility
                                       ? "compat"
                                       : survey::name_of(profile.profile));
    }
    if (contexts.empty()) return;
    std::size_t whole = 0;
    for (std::size_t i = 0; i < survey::formats().size(); ++i) {
        std::vector<PageCell> cells;
        cells.reserve(contexts.size());
        for (const SurveyedProfile* context : contexts) cells.push_back(cell(*context, i));
        whole += are_yes(cells);
        if (!are_yes(cells)) table.rows.emplace_back(survey::formats()[i].name, std::move(cells));
    }
    if (!table.rows.empty()) section->table(table);
    section->paragraph(fmt::format(
        "Of {} formats, all that the survey asks holds in each of these contexts.", whole));
}

void SetTables::write(const std::string& sameSurvey, PageSection* section) {
    if (is_measured(set_)) {
        section->table(table_of_formats("The sixteen formats: compatibility profile",
                                        [&](const Cell& each) { return cell(each); }));
    }
    if (pictured_ && !pictured_->trouble.empty()) section->paragraph(plain(pictured_->trouble));
    if (sameSurvey.empty()) return write_survey(section);
    section->paragraph("The survey says the same as of " + sameSurvey + ".");
}

PageTable table_of_sums(const RecordSets& sets) {
    const std::string caption = fmt::format("On how many of the {} sets it works", sets.size());
    return table_of_formats(caption, [&](const Cell& cell) -> PageCell {
        const auto yes = std::count_if(sets.begin(), sets.end(), [&](const RecordSet& set) {
            return set.verdict(cell) == Verdict::kYes;
        });
        if (yes == static_cast<std::ptrdiff_t>(sets.size())) return {{"yes", "all"}};
        const bool isOfTest = std::all_of(sets.begin(), sets.end(), [&](const RecordSet& set) {
            return set.verdict(cell) == Verdict::kYes || set.is_of_test(cell);
        });
        const std::string count = yes == 0 ? "none" : fmt::format("{}/{}", yes, sets.size());
        return {{isOfTest ? "of_test" : yes == 0 ? "no" : "some", count + (isOfTest ? "*" : "")}};
    });
}

PageTable table_of_differences(const ComparedSets& pair, SetTables* a, SetTables* b) {
    PageTable table = {"What differs", {"verdict", pair.a.systemBuild, pair.b.systemBuild}, {}};
    for (const Difference& each : pair.differences) {
        table.rows.push_back({words_of(each.cell), {a->cell(each.cell), b->cell(each.cell)}});
    }
    const SurveyDifference* before = nullptr;
    for (const SurveyDifference& each : pair.ofSurvey) {
        // A row tells all uses of the format.
        if (before && before->profile == each.profile && before->format == each.format) continue;
        before = &each;
        const std::string format = each.format.empty() ? each.use : each.format;
        table.rows.push_back({format + " in " + words_of(each.profile),
                              {a->cell(each, each.a), b->cell(each, each.b)}});
    }
    return table;
}

}  // namespace texprobe::ctl
