#include <fmt/format.h>
#include <table/record_keys.h>

#include <algorithm>

#include "documents/document.h"

namespace texprobe::ctl {

namespace {

/// Of the member; it rises when a reader would misunderstand what has changed.
constexpr int kSurveyVersion = 1;

/// The verdicts in one layout, or without one. Adds none where nothing is asked.
void add_verdicts(const survey::Format& format, const survey::Layout& layout,
                  survey::Profile profile, const survey::FormatRecord& record, Json* object) {
    for (const survey::Use use : survey::kUses) {
        if (!has_question(format, {use, layout}, profile)) continue;
        const auto judged = record.uses.find({use, layout});
        (*object)[name_of(use)] =
            judged == record.uses.end() ? kUnmeasuredUse : name_of(judged->second.verdict);
    }
}

Json names_of(const survey::Layout& layout) {
    return {{"format", format_of(layout).name}, {"type", type_of(layout).name}};
}

Json describe(const survey::Format& format, survey::Profile profile,
              const survey::FormatRecord& record) {
    Json object = {{"name", format.name}};
    add_verdicts(format, {}, profile, record, &object);
    Json layouts = Json::array();
    for (const survey::Layout& layout : layouts_of(format)) {
        Json each = names_of(layout);
        const std::size_t size = each.size();
        add_verdicts(format, layout, profile, record, &each);
        if (each.size() != size) layouts.push_back(std::move(each));
    }
    object["layouts"] = std::move(layouts);
    return object;
}

Json detail_of(const survey::Format& format, const survey::Question& question,
               const std::string& text) {
    Json detail = {{"name", format.name}};
    if (!question.layout.is_none()) detail.update(names_of(question.layout));
    detail.update({{"use", name_of(question.use)}, {"text", text}});
    return detail;
}

Json describe_profile(const SurveyedProfile& profile) {
    Json object = {{"profile", name_of(profile.profile)},
                   {"gl_version", text_or_null(profile.glVersion)}};
    if (!profile.lack.empty()) object["context"] = profile.lack;
    Json formats = Json::array();
    Json details = Json::array();
    for (std::size_t i = 0; i < profile.formats.size() && profile.lack.empty(); ++i) {
        const survey::Format& format = survey::formats()[i];
        formats.push_back(describe(format, profile.profile, profile.formats[i]));
        for (const auto& [question, judged] : profile.formats[i].uses) {
            if (judged.text.empty() || !has_question(format, question, profile.profile)) continue;
            details.push_back(detail_of(format, question, judged.text));
        }
    }
    object["formats"] = std::move(formats);
    object["details"] = std::move(details);
    return object;
}

const survey::Format& read_format(const Json& object, const Expect& expect) {
    const survey::Format* const format = survey::find_format(expect.text(object, "name"));
    if (!format) expect.refuse(object, "name", "{0} is no format of the survey");
    return *format;
}

/// The layout that an object names; none where it names none.
survey::Layout read_layout(const Json& object, const Expect& expect) {
    if (!object.contains("format") && !object.contains("type")) return {};
    const std::string& format = expect.text(object, "format");
    const auto layout = survey::find_layout(format, expect.text(object, "type"));
    if (!layout) expect.refuse(object, "format", "{0} and \"type\" are no layout of the survey");
    return *layout;
}

/// Those in one layout, or in none.
void read_verdicts(const Json& object, const survey::Format& format, const survey::Layout& layout,
                   survey::Profile profile, survey::FormatRecord* record, const Expect& expect) {
    for (const survey::Use use : survey::kUses) {
        const char* const member = name_of(use);
        const survey::Question question(use, layout);
        if (!has_question(format, question, profile)) {
            if (!object.contains(member)) continue;
            expect.fail(expect.member(object, member),
                        fmt::format("{} has no use \"{}\"", format.name, member));
        }
        const std::string& name = expect.text(object, member);
        const auto verdict = survey::find_verdict(name);
        if (verdict) {
            record->uses[question] = {*verdict, ""};
        } else if (name != kUnmeasuredUse) {
            expect.refuse(object, member,
                          "\"{1}\" is {0}; expected yes, refused, wrong, not_offered, "
                          "not_applicable, crashed, hung, unknown or unmeasured");
        }
    }
}

/// A document may lack layouts, which are unmeasured then.
void read_surveyed_format(const Json& object, const survey::Format& format, survey::Profile profile,
                          survey::FormatRecord* record, const Expect& expect) {
    if (!record->uses.empty()) {
        expect.fail(object, fmt::format("\"{}\" is given twice", format.name));
    }
    read_verdicts(object, format, {}, profile, record, expect);
    std::vector<survey::Layout> seen;
    for (const Json& each : expect.array(object, "layouts")) {
        const survey::Layout layout = read_layout(each, expect);
        const std::vector<survey::Layout>& known = layouts_of(format);
        if (std::find(known.begin(), known.end(), layout) == known.end()) {
            expect.fail(each, fmt::format("this is no layout of {}", format.name));
        }
        if (std::find(seen.begin(), seen.end(), layout) != seen.end()) {
            expect.fail(each, "this layout is given twice");
        }
        seen.push_back(layout);
        read_verdicts(each, format, layout, profile, record, expect);
    }
}

void read_detail(const Json& object, SurveyedProfile* profile, const Expect& expect) {
    const survey::Format& format = read_format(object, expect);
    const std::string& name = expect.text(object, "use");
    const std::string& text = expect.text(object, "text");
    auto& uses =
        profile->formats[static_cast<std::size_t>(&format - survey::formats().data())].uses;
    const survey::Layout layout = read_layout(object, expect);
    const auto found = std::find_if(uses.begin(), uses.end(), [&](const auto& use) {
        return layout == use.first.layout && name == name_of(use.first.use);
    });
    if (found == uses.end()) {
        expect.fail(
            expect.member(object, "use"),
            fmt::format("{} is no use of {} that has a verdict", in_quotes(name), format.name));
    }
    if (text.empty() || !found->second.text.empty()) {
        expect.fail(expect.member(object, "text"),
                    text.empty() ? "\"text\" is empty" : "\"text\" is given twice for this use");
    }
    found->second.text = text;
}

SurveyedProfile read_profile(const Json& object, const Expect& expect) {
    SurveyedProfile profile;
    profile.profile = read_profile_name(object, expect);
    profile.glVersion = expect.text_or_null(object, "gl_version");
    if (object.contains("context")) {
        profile.lack = expect.text(object, "context");
        if (profile.glVersion || !survey::has_no_formats(profile.lack)) {
            expect.fail(
                expect.member(object, "context"),
                "\"context\" must be not_offered, crashed or hung, and \"gl_version\" null");
        }
    }
    const Json& formats = expect.array(object, "formats");
    const Json& details = expect.array(object, "details");
    if (!profile.lack.empty() && !formats.empty()) {
        expect.fail(formats, "there are formats, and no context");
    }
    for (const Json& each : formats) {
        const survey::Format& format = read_format(each, expect);
        const auto index = static_cast<std::size_t>(&format - survey::formats().data());
        read_surveyed_format(each, format, profile.profile, &profile.formats[index], expect);
    }
    for (const Json& each : details) read_detail(each, &profile, expect);
    return profile;
}

}  // namespace

survey::Profile read_profile_name(const Json& object, const Expect& expect) {
    const std::string& name = expect.text(object, "profile");
    for (const survey::Profile profile : survey::kProfiles) {
        if (name == name_of(profile)) return profile;
    }
    expect.refuse(object, "profile", "{0} is no profile; expected compatibility, core or es");
}

Json describe_survey(const Survey& survey) {
    return {{"version", kSurveyVersion}, {"profiles", list_of(survey, describe_profile)}};
}

Survey read_survey(const Json& set, const Expect& expect) {
    if (!set.contains("survey")) return {};
    const Json& object = expect.member(set, "survey");
    expect.integer(object, "version", kSurveyVersion, kSurveyVersion);
    Survey survey;
    for (const Json& each : expect.array(object, "profiles")) {
        SurveyedProfile profile = read_profile(each, expect);
        // In the profiles' order, each once.
        if (!survey.empty() && survey.back().profile >= profile.profile) {
            expect.fail(expect.member(each, "profile"),
                        "expected compatibility, core and es in this order, each once at most");
        }
        survey.push_back(std::move(profile));
    }
    return survey;
}

}  // namespace texprobe::ctl
