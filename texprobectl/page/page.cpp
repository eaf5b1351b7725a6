#include "page/page.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <kainjow/mustache.hpp>
#include <sstream>

#include "documents/merge.h"
#include "page/base64.h"
#include "page/page_template.h"
#include "page/times_section.h"
#include "records/plain_text.h"
#include "text/text_matrix.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

using Data = kainjow::mustache::data;

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

Data truth(bool isTrue) {
    return Data(isTrue ? Data::type::bool_true : Data::type::bool_false);
}

Data list_columns() {
    Data columns(Data::type::list);
    for (const CapabilityNames& names : kCapabilities) columns << Data("name", names.column);
    return columns;
}

/// A narrow screen may break a name after an underscore.
std::string breakable(std::string name) {
    for (std::size_t at = 0; (at = name.find('_', at)) != std::string::npos;) {
        name.insert(++at, "<wbr>");
    }
    return name;
}

/// Rows of cells; `cell_of` gives the class and the text of each.
template <class CellOf>
Data list_rows(CellOf cellOf) {
    Data rows(Data::type::list);
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        Data cells(Data::type::list);
        for (std::size_t i = 0; i < kCapabilityCount; ++i) {
            const auto [kind, text] = cellOf(Cell{format, static_cast<Capability>(i)});
            Data cell;
            cell.set("kind", kind);
            cell.set("text", text);
            cells << cell;
        }
        Data row;
        row.set("name", breakable(kFormats[format].name));
        row.set("cells", cells);
        rows << row;
    }
    return rows;
}

bool differs(const RecordSets& sets, const Cell& cell) {
    return std::any_of(sets.begin(), sets.end(), [&](const RecordSet& set) {
        return set.verdict(cell) != sets.front().verdict(cell);
    });
}

Data list_details(const RecordSet& set) {
    Data details(Data::type::list);
    for (const Detail& detail : set.details) {
        if (detail.is_of_test()) continue;
        details << Data("text", words_of(detail.cell) + ' ' + describe(detail.cause) + ".");
    }
    return details;
}

/// As `survey` shows it.
std::string survey_text(const RecordSet& set) {
    std::ostringstream text;
    if (!set.survey.empty()) write_survey_text({set}, {}, {}, text);
    return text.str();
}

Data describe_set(const RecordSet& set, std::size_t number, const RecordSets& all) {
    const std::size_t open = set.unmeasured();
    Data data;
    data.set("number", std::to_string(number));
    data.set("renderer", set.renderer.value_or("Unknown renderer " + set.rendererID));
    data.set("driver", set.glVersion.value_or("unknown"));
    data.set("vendor", set.vendor.value_or("unknown"));
    data.set("build", set.systemBuild + (set.isPresent ? " (present)" : ""));
    data.set("measured", describe_measured(set));
    data.set("state", set.isComplete ? std::string("complete")
                                     : "not complete, " + std::to_string(open) +
                                           (open == 1 ? " verdict" : " verdicts") + " missing");
    data.set("id", set.id);
    data.set("caption", all.size() > 1 ? "Framed: not the same in all sets" : "Verdicts");
    data.set("columns", list_columns());
    data.set("rows", list_rows([&](const Cell& cell) {
                 const Verdict verdict = set.verdict(cell);
                 const bool isOfTest = set.is_of_test(cell);
                 std::string kind = isOfTest ? "of_test" : name_of(verdict);
                 if (differs(all, cell)) kind += " differs";
                 const std::string mark = isOfTest ? "*" : "";
                 return std::pair<std::string, std::string>(kind, word(verdict) + mark);
             }));
    const Data details = list_details(set);
    data.set("hasDetails", truth(details.is_non_empty_list()));
    data.set("details", details);
    data.set("isMeasured", truth(is_measured(set)));
    data.set("hasSurvey", truth(!set.survey.empty()));
    data.set("survey", survey_text(set));
    return data;
}

Data picture(const std::string& name, const std::string& png) {
    Data data;
    data.set("name", name);
    data.set("png", base64(png));
    return data;
}

Data list_pictures(const PicturedNo& no) {
    Data list(Data::type::list);
    if (!no.pictures) return list;
    const double factor = no.pictures->amplification;
    std::array<char, 32> amplified;
    std::snprintf(amplified.data(), amplified.size(), "difference, %.3g times", factor);
    list << picture("sent", no.pictures->sent) << picture("came back", no.pictures->returned)
         << picture(factor == 1.0 ? "difference" : amplified.data(), no.pictures->difference);
    return list;
}

void add_pictures(const PicturedNoes& pictured, Data* set) {
    Data noes(Data::type::list);
    for (const PicturedNo& no : pictured.noes) {
        Data data;
        data.set("test", words_of(no.cell));
        data.set("sentence", plain(no.sentence));
        data.set("pictures", list_pictures(no));
        noes << data;
    }
    set->set("hasNoes", truth(!pictured.noes.empty() || !pictured.trouble.empty()));
    Data troubles(Data::type::list);
    if (!pictured.trouble.empty()) troubles << Data("text", plain(pictured.trouble));
    set->set("troubles", troubles);
    set->set("noes", noes);
}

std::string list_names(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
    return list;
}

/// The formats of which everything works in every set, and of which nothing does anywhere.
std::string summarize(const RecordSets& sets) {
    std::vector<std::string> whole;
    std::vector<std::string> hopeless;
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        bool all = true;
        bool none = true;
        for (const RecordSet& set : sets) {
            for (const Verdict verdict : set.verdicts[format]) all &= verdict == Verdict::kYes;
            none &= is_failure(set.verdicts[format][kSupported]);
        }
        if (all) whole.emplace_back(kFormats[format].name);
        if (none) hopeless.emplace_back(kFormats[format].name);
    }
    const std::string where = sets.size() > 1 ? " in every set" : "";
    std::string text = whole.empty()
                           ? "No format has all six capabilities" + where + "."
                           : "All six capabilities" + where + ": " + list_names(whole) + ".";
    if (!hopeless.empty()) text += " Cannot be created at all: " + list_names(hopeless) + ".";
    return text;
}

Data list_totals(const RecordSets& sets) {
    return list_rows([&](const Cell& cell) {
        const auto yes = std::count_if(sets.begin(), sets.end(), [&](const RecordSet& set) {
            return set.verdict(cell) == Verdict::kYes;
        });
        const auto all = static_cast<std::ptrdiff_t>(sets.size());
        using KindAndText = std::pair<std::string, std::string>;
        if (yes == all) return KindAndText("yes", "all");
        const bool isMarked = std::all_of(sets.begin(), sets.end(), [&](const RecordSet& set) {
            return set.verdict(cell) == Verdict::kYes || set.is_of_test(cell);
        });
        if (yes == 0 && isMarked) return KindAndText("of_test", "none*");
        if (yes == 0) return KindAndText("no", "none");
        return KindAndText("some", std::to_string(yes) + "/" + std::to_string(all));
    });
}

}  // namespace

void write_page(const RecordSets& given, const std::vector<PicturedNoes>& pictured,
                const std::vector<Times>& times, std::ostream& stream) {
    RecordSets sets;
    for (const RecordSet& set : given) sets.push_back(plain(set));
    kainjow::mustache::mustache page(kPageTemplate);
    Data data;
    Data list(Data::type::list);
    for (std::size_t i = 0; i < sets.size(); ++i) {
        Data set = describe_set(sets[i], i + 1, sets);
        add_pictures(pictured.empty() ? PicturedNoes() : pictured[i], &set);
        list << set;
    }
    const bool several = sets.size() > 1;
    const bool hasUnseenNo =
        std::any_of(sets.begin(), sets.end(), [](const RecordSet& set) { return set.hasUnseenNo; });
    data.set("version", TEXPROBECTL_VERSION);
    data.set("title", several ? std::string("Texture formats on several renderers")
                              : "Texture formats on " +
                                    sets.front().renderer.value_or("an unknown renderer"));
    data.set("count", several ? std::to_string(sets.size()) + " record sets." : "One record set.");
    data.set("several", truth(several));
    data.set("total", std::to_string(sets.size()));
    data.set("columns", list_columns());
    data.set("rows", list_totals(sets));
    data.set("rely", summarize(sets));
    data.set("marked", has_mark(sets) ? "no*: " + std::string(kOfTest) + ". " : "");
    data.set("unseen", hasUnseenNo ? "A no that was recorded without texprobectl measure may have "
                                     "been a crash."
                                   : "");
    data.set("sets", list);
    std::string sections;
    for (std::size_t i = 0; i < times.size(); ++i) sections += times_section(times[i], i + 1);
    data.set("times", sections);
    stream << page.render(data);
}

}  // namespace texprobe::ctl
