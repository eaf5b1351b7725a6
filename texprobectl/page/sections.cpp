#include "page/sections.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <iterator>

#include "records/plain_text.h"
#include "text/text_pieces.h"

namespace texprobe::ctl {

namespace {

using Holds = std::function<bool(const survey::Question&)>;

constexpr const char* kAll = "everything";
constexpr const char* kNothing = "nothing";

void write_folded(const Folded<>& folded, PageSection* section) {
    const std::size_t all = survey::formats().size();
    std::vector<std::string> lines;
    for (const auto& [said, formats] : folded) {
        if (said != kAll) {
            lines.push_back(joined(formats) + ": " + said);
            continue;
        }
        // The names of all are at the end of the page.
        const bool areMany = formats.size() > kFormatCount;
        const char* const others = formats.size() < all ? " but the following" : "";
        lines.insert(lines.begin(), areMany ? fmt::format("{}: all {} formats{}", said, all, others)
                                            : said + std::string(": ") + joined(formats));
    }
    section->list(lines);
}

std::string describe_gaps(const std::vector<std::string>& gaps, std::size_t asked) {
    if (gaps.empty()) return kAll;
    return gaps.size() == asked ? kNothing : "all but " + joined(gaps);
}

void write_tool(const RecordSets& sets, PageSection* section) {
    RecordSets measured;
    std::copy_if(sets.begin(), sets.end(), std::back_inserter(measured), is_measured);
    if (measured.empty()) return;
    Folded<> folded;
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        std::vector<std::string> gaps;
        bool isMarked = false;
        for (const Cell& cell : cells_of(format)) {
            const auto marked = [&](const RecordSet& set) { return set.is_of_test(cell); };
            isMarked |= std::any_of(measured.begin(), measured.end(), marked);
            const bool holds =
                std::all_of(measured.begin(), measured.end(), [&](const RecordSet& set) {
                    return set.verdict(cell) == Verdict::kYes || marked(set);
                });
            if (!holds) gaps.emplace_back(kCapabilities[cell.capability].column);
        }
        fold(describe_gaps(gaps, kCapabilityCount),
             std::string(kFormats[format].name) + (isMarked ? "*" : ""), &folded);
    }
    section->subheading("The sixteen formats: compatibility profile");
    write_folded(folded, section);
}

/// The uses of a format that do not hold, with the layouts if only some are concerned.
std::string describe_gaps(const survey::Format& format, survey::Profile profile,
                          const Holds& holds) {
    std::vector<survey::Layout> layouts = layouts_of(format);
    layouts.insert(layouts.begin(), survey::Layout());
    Folded<> folded;
    std::size_t asked = 0;
    for (const survey::Use use : survey::kUses) {
        std::vector<std::string> missing;
        std::size_t count = 0;
        for (const survey::Layout& layout : layouts) {
            if (!has_question(format, {use, layout}, profile)) continue;
            ++count;
            if (!holds({use, layout})) missing.push_back(layout.is_none() ? "" : name_of(layout));
        }
        asked += count > 0;
        if (missing.empty()) continue;
        fold(missing.size() == count ? "" : " in " + joined(missing), name_of(use), &folded);
    }
    std::vector<std::string> gaps;
    for (const auto& [layout, uses] : folded) {
        if (layout.empty() && uses.size() == asked) return kNothing;
        gaps.push_back(joined(uses) + layout);
    }
    return describe_gaps(gaps, gaps.size() + 1);
}

void write_survey(const RecordSets& sets, survey::Profile profile, PageSection* section) {
    std::vector<const SurveyedProfile*> surveyed;
    for (const RecordSet& set : sets) {
        for (const SurveyedProfile& each : set.survey) {
            if (each.profile == profile && each.lack.empty()) surveyed.push_back(&each);
        }
    }
    if (surveyed.empty()) return;
    Folded<> folded;
    for (std::size_t i = 0; i < survey::formats().size(); ++i) {
        const survey::Format& format = survey::formats()[i];
        const auto holds = [&](const survey::Question& question) {
            return std::all_of(surveyed.begin(), surveyed.end(), [&](const SurveyedProfile* each) {
                const auto found = each->formats[i].uses.find(question);
                return found != each->formats[i].uses.end() &&
                       found->second.verdict == survey::Verdict::kYes;
            });
        };
        fold(describe_gaps(format, profile, holds), format.name, &folded);
    }
    section->subheading(std::string("The survey: ") + words_of(profile) +
                        (surveyed.size() == sets.size()
                             ? ""
                             : ", which " + std::to_string(surveyed.size()) + " of " +
                                   std::to_string(sets.size()) + " sets have"));
    write_folded(folded, section);
}

}  // namespace

PageSection explain_words(const RecordSets& sets) {
    PageSection section("words", "What the words mean");
    std::vector<std::pair<std::string, std::string>> terms = {
        {"create", "A texture of the format can be created."},
        {"render", "It can be a render target."},
        {"set", "A sub-image upload from a pixel buffer object arrives as it was sent."},
        {"reset", "A definition from a pixel buffer object arrives as it was sent."},
        {"get", "A texture is read back into a pixel buffer object as it was rendered."},
        {"read", "The framebuffer is read back into a pixel buffer object as it was rendered."},
        {"n/a", "Not applicable, because a capability that it needs is a no."}};
    if (has_mark(sets)) terms.emplace_back("*", kOfTest + std::string("."));
    section.terms(terms);
    std::vector<std::string> formats;
    for (const survey::Format& format : survey::formats()) formats.emplace_back(format.name);
    if (std::any_of(sets.begin(), sets.end(),
                    [](const RecordSet& set) { return !set.survey.empty(); })) {
        section.subheading("In the survey");
        section.terms(
            {{"no", "It does not work, and was not promised."},
             {"wrong, refused",
              "It was promised, by a document, an extension or the driver itself."},
             {"upload, read, get", "In the memory of the application, each in its own layouts."},
             {"..._part", "A part of the image, with padded rows."},
             {"..._buffer", "In a pixel buffer object."},
             {"..._storage", "Of a texture whose storage cannot change."},
             {std::to_string(formats.size()) + " formats", joined(formats)}});
    }
    return section;
}

PageSection rely_on(const RecordSets& sets) {
    PageSection section("rely", "What to rely on");
    write_tool(sets, &section);
    for (const survey::Profile profile : survey::kProfiles) {
        write_survey(sets, profile, &section);
    }
    return section;
}

PageSection times_section(const Times& times, std::size_t number) {
    PageSection section("times" + std::to_string(number),
                        "How fast: " + plain(times.renderer.value_or("an unknown renderer")));
    section.paragraph(plain(times.glVersion.value_or("unknown driver") + ", " + times.id));
    for (const TimesTable& each : tables_of(times)) {
        PageTable table = {each.caption, {"format"}, {}};
        table.columns.insert(table.columns.end(), kTimesColumns.begin(), kTimesColumns.end());
        for (const TimesRow& row : each.rows) {
            std::vector<PageCell> cells;
            for (const std::string& cell : row.cells) {
                cells.push_back({{row.cells.size() == 1 ? "quiet" : "", cell}});
            }
            table.rows.emplace_back(row.format + ' ' + row.transfer, std::move(cells));
        }
        section.table(table);
    }
    section.paragraph(kTimesLegend);
    return section;
}

}  // namespace texprobe::ctl
