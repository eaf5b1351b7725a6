#include "page/page.h"

#include <fmt/format.h>

#include <algorithm>
#include <tuple>

#include "page/page_style.h"
#include "page/sections.h"
#include "page/set_tables.h"
#include "page/whys.h"
#include "records/compare.h"
#include "records/plain_text.h"
#include "text/text_pieces.h"

namespace texprobe::ctl {

namespace {

constexpr const char* kBegin = R"html(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<meta name="generator" content="texprobectl {0}">
<title>{1}</title>
<link rel="icon" href="data:,">
{2}</head>
<body>
<a class="skip" href="#content">Skip to the content</a>
<header>
<h1>{1}</h1>
<p class="quiet">{3}</p>
</header>
<main id="content">
<nav aria-label="Sections">
<ul>
{4}</ul>
</nav>
)html";
constexpr const char* kEnd = R"html(</main>
<footer class="quiet">
<p>A verdict is about one driver, one build of the system and images of 128 by 128 pixels.{0}
Written by texprobectl {1}.</p>
</footer>
</body>
</html>
)html";

/// Sets that a reader sees in one place: of one renderer, or with the same verdicts.
struct SetsTogether {
    const RecordSet* first;
    std::vector<const RecordSet*> same = {};
    std::vector<const RecordSet*> others = {};
};

ComparedSets compared(const RecordSet& a, const RecordSet& b) {
    return compare({a}, {b}).pairs.front();
}

bool say_the_same(const RecordSet& a, const RecordSet& b) {
    // The cheap comparisons first: surveys are long.
    return a.verdicts == b.verdicts && a.survey.empty() == b.survey.empty() &&
           is_measured(a) == is_measured(b) && compared(a, b).is_equal();
}

/// The present or the latest set of each renderer, and with it the others that say the same.
std::vector<SetsTogether> together_in(const RecordSets& sets) {
    std::vector<const RecordSet*> latest;
    for (const RecordSet& set : sets) latest.push_back(&set);
    std::sort(latest.begin(), latest.end(), [](const RecordSet* a, const RecordSet* b) {
        return std::tie(a->isPresent, a->measured, b) > std::tie(b->isPresent, b->measured, a);
    });
    std::vector<SetsTogether> found;
    for (const RecordSet* set : latest) {
        const auto same = std::find_if(found.begin(), found.end(), [&](const SetsTogether& each) {
            return say_the_same(*each.first, *set);
        });
        const auto other = std::find_if(found.begin(), found.end(), [&](const SetsTogether& each) {
            return each.first->rendererID == set->rendererID;
        });
        if (same != found.end()) {
            same->same.push_back(set);
        } else if (other != found.end()) {
            other->others.push_back(set);
        } else {
            found.push_back({set});
        }
    }
    std::sort(found.begin(), found.end(),
              [](const SetsTogether& a, const SetsTogether& b) { return a.first < b.first; });
    return found;
}

std::string name_of(const RecordSet& set) {
    return set.renderer.value_or("Unknown renderer " + set.rendererID);
}

/// Date, system and version.
std::string describe_origin(const RecordSet& set) {
    return short_driver(set.glVersion) + ", system " + describe_build(set);
}

void write_facts(const RecordSet& set, PageSection* section) {
    std::vector<std::pair<std::string, std::string>> facts = {
        {"driver", set.glVersion.value_or("unknown")},
        {"vendor", set.vendor.value_or("unknown")},
        {"system", set.systemBuild + (set.isPresent ? " (present)" : "")},
        {"verdicts", describe_state(set)}};
    const std::string measured = describe_measured(set);
    if (!measured.empty()) facts.emplace_back("date", measured);
    const std::string missing = describe_missing(set.survey, {}, set.rendererID);
    if (!set.survey.empty()) facts.emplace_back("survey", missing.empty() ? "complete" : missing);
    facts.emplace_back("identifier", set.id);
    section->terms(facts);
}

class Page {
public:
    Page(const RecordSets& sets, const std::vector<PicturedNoes>& pictured)
        : sets_(sets), pictured_(pictured), renderers_(together_in(sets)) {}

    std::vector<PageSection> sections() {
        std::vector<PageSection> sections;
        if (renderers_.size() > 1) {
            sections.emplace_back("sum", fmt::format("All {} sets", sets_.size()));
            sections.back().table(table_of_sums(sets_));
        }
        for (std::size_t i = 0; i < renderers_.size(); ++i) sections.push_back(renderer(i));
        sections.insert(sections.begin(), rely_on(sets_));
        if (!whys_.empty()) sections.push_back(whys_.section());
        return sections;
    }

    /// Of all sets.
    std::string origin() const {
        return renderers_.size() > 1 ? fmt::format("{} record sets", sets_.size())
                                     : describe_origin(*renderers_.front().first);
    }

private:
    /// `label` names the renderer.
    SetTables tables_of(const RecordSet& set, const std::string& label) {
        static const PicturedNoes kNone;
        const auto place = static_cast<std::size_t>(&set - sets_.data());
        return {set, label, pictured_.empty() ? kNone : pictured_[place], &whys_};
    }

    PageSection renderer(std::size_t number) {
        const SetsTogether& together = renderers_[number];
        const bool isOnly = renderers_.size() == 1;
        const std::string label = isOnly ? "" : std::to_string(number + 1);
        std::vector<std::string> same;
        for (const RecordSet* each : together.same) {
            same.push_back(name_of(*each) + ", " + describe_origin(*each));
        }
        const std::string more = same.empty() ? "" : fmt::format(", and {} more", same.size());
        PageSection section("set" + std::to_string(number + 1),
                            isOnly ? "Verdicts" : label + ". " + name_of(*together.first) + more);
        for (const RecordSet* other : together.others) {
            write_differences(*other, *together.first, label, &section);
        }
        tables_of(*together.first, label).write(same_survey(number), &section);
        write_facts(*together.first, &section);
        if (!same.empty()) section.paragraph("The same verdicts:");
        section.list(same);
        return section;
    }

    /// The number of the first renderer before this one whose survey says the same; or empty.
    std::string same_survey(std::size_t number) const {
        const RecordSet& set = *renderers_[number].first;
        for (std::size_t i = 0; i < number && !set.survey.empty(); ++i) {
            const RecordSet& before = *renderers_[i].first;
            const bool hasBoth =
                !before.survey.empty() &&
                describe_missing(before.survey, {}, "") == describe_missing(set.survey, {}, "");
            if (hasBoth && compared(before, set).ofSurvey.empty()) return std::to_string(i + 1);
        }
        return {};
    }

    void write_differences(const RecordSet& before, const RecordSet& now, const std::string& label,
                           PageSection* section) {
        const ComparedSets pair = compared(before, now);
        const Balance balance = balance_of(pair);
        section->subheading("Against " + describe_origin(pair.a));
        const std::string build = (label.empty() ? "" : label + " under ") + pair.a.systemBuild;
        SetTables a = tables_of(before, build);
        SetTables b = tables_of(now, label);
        section->table(table_of_differences(pair, &a, &b));
        section->paragraph(fmt::format("{} worse, {} better.", balance.worse, balance.better));
    }

    const RecordSets& sets_;
    const std::vector<PicturedNoes>& pictured_;
    const std::vector<SetsTogether> renderers_;
    Whys whys_;
};

std::string title_of(const RecordSets& sets) {
    const std::string first = name_of(sets.front());
    const bool isOne = std::all_of(sets.begin(), sets.end(),
                                   [&](const RecordSet& set) { return name_of(set) == first; });
    return "Texture formats on " + (isOne ? first : "several renderers");
}

}  // namespace

void write_page(const RecordSets& given, const std::vector<PicturedNoes>& pictured,
                const std::vector<Times>& times, std::ostream& stream) {
    RecordSets sets;
    for (const RecordSet& set : given) sets.push_back(plain(set));
    Page content(sets, pictured);
    std::vector<PageSection> sections = content.sections();
    for (std::size_t i = 0; i < times.size(); ++i) {
        sections.push_back(times_section(times[i], i + 1));
    }
    sections.push_back(explain_words(sets));
    const bool hasUnseenNo =
        std::any_of(sets.begin(), sets.end(), [](const RecordSet& set) { return set.hasUnseenNo; });
    const char* const doubt =
        hasUnseenNo ? " A no that was recorded without texprobectl measure may have been a crash."
                    : "";
    std::string links;
    std::string html;
    for (const PageSection& section : sections) {
        links += section.link();
        html += section.html();
    }
    stream << fmt::format(kBegin, TEXPROBECTL_VERSION, escaped(title_of(sets)), kPageStyle,
                          escaped(content.origin()), links)
           << html << fmt::format(kEnd, doubt, TEXPROBECTL_VERSION);
}

}  // namespace texprobe::ctl
