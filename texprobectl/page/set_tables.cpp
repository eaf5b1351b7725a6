#include "page/set_tables.h"

#include <fmt/format.h>

#include <algorithm>

#include "records/plain_text.h"
#include "text/text_pieces.h"

namespace texprobe::ctl {

namespace {

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
        for (const Cell& cell : cells_of(format)) cells.push_back(toCell(cell));
        table.rows.emplace_back(kFormats[format].name, std::move(cells));
    }
    return table;
}

std::string sentence_of(const survey::Judged& judged) {
    using survey::Verdict;
    if (judged.verdict == Verdict::kNotOffered) {
        return (judged.text.empty() ? "It does not work" : judged.text) + "; it was not promised.";
    }
    return std::string(name_of(judged.verdict)) + (judged.text.empty() ? "" : ": ") + judged.text;
}

}  // namespace

/// As far as the records tell, or an inspection.
std::string SetTables::why(const Cell& cell) const {
    const std::string mark = set_.is_of_test(cell) ? "no*: " : "";
    if (const auto& no = pictured_.noes[cell]) return mark + plain(no->sentence);
    if (!mark.empty()) return mark + kOfTest + ".";
    const Detail* const detail = set_.detail(cell);
    if (!detail) return "The test came back with a no; `texprobectl inspect` says why.";
    const bool wasEnded = std::holds_alternative<Crashed>(detail->cause);
    return (wasEnded ? "The test was " : "The test ") + describe(detail->cause) + ".";
}

PageCell SetTables::cell(const Cell& cell) {
    const Verdict verdict = set_.verdict(cell);
    PagePart part = {set_.is_of_test(cell) ? "of_test" : name_of(verdict),
                     show_cell(set_, cell, {}).text};
    if (!is_failure(verdict)) return {part};
    const CapabilityNames& names = kCapabilities[cell.capability];
    part.link = whys_.add(Whys::kOfTool, why(cell),
                          {names.words, kFormats[cell.format].name, "", "", label_});
    const auto& no = pictured_.noes[cell];
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
        const std::string use = name_of(question.use);
        PagePart part = {"unmeasured", word_of(record, question)};
        if (found == record.uses.end()) {
            add_use(part, use, &others);
            continue;
        }
        const survey::Judged& judged = found->second;
        if (judged.verdict == Verdict::kYes || judged.verdict == Verdict::kNotApplicable) continue;
        const bool isTold = is_told(judged.verdict);
        if (judged.verdict != Verdict::kUnknown) part.kind = isTold ? "crashed" : "some";
        const std::string layout = question.layout.is_none() ? "" : name_of(question.layout);
        part.link = whys_.add(isTold ? Whys::kBrokenPromise : Whys::kNoPromise, sentence_of(judged),
                              {use, format.name, layout, words_of(profile.profile), label_});
        add_use(part, use, isTold ? &told : &others);
    }
    told.insert(told.end(), others.begin(), others.end());
    return told.empty() ? PageCell{{"yes", "yes"}} : told;
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
    for (std::size_t i = 0; i < survey::formats().size(); ++i) {
        std::vector<PageCell> cells;
        cells.reserve(contexts.size());
        for (const SurveyedProfile* context : contexts) cells.push_back(cell(*context, i));
        const bool isWhole = std::all_of(cells.begin(), cells.end(), [](const PageCell& each) {
            return each.front().kind == "yes";
        });
        if (!isWhole) table.rows.emplace_back(survey::formats()[i].name, std::move(cells));
    }
    if (!table.rows.empty()) section->table(table);
    section->paragraph(
        fmt::format("Of {} formats, all that the survey asks holds in each of these contexts.",
                    survey::formats().size() - table.rows.size()));
}

void SetTables::write(const std::string& sameSurvey, PageSection* section) {
    if (is_measured(set_)) {
        section->table(table_of_formats("The sixteen formats: compatibility profile",
                                        [&](const Cell& each) { return cell(each); }));
    }
    if (!pictured_.trouble.empty()) section->paragraph(plain(pictured_.trouble));
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
