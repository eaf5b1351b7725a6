#include <fmt/format.h>
#include <table/record_keys.h>

#include <algorithm>

#include "documents/document.h"

namespace texprobe::ctl {

namespace {

/// Of the member; it rises when an old reader would misunderstand a change.
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

const survey::Format& read_format(const Element& object) {
    const survey::Format* const format = survey::find_format(object.text("name"));
    if (!format) object.refuse("name", "{0} is no format of the survey");
    return *format;
}

/// The layout that an object names; none where it names none.
survey::Layout read_layout(const Element& object) {
    if (!object.contains("format") && !object.contains("type")) return {};
    const std::string& format = object.text("format");
    const auto layout = survey::find_layout(format, object.text("type"));
    if (!layout) object.refuse("format", "{0} and \"type\" are no layout of the survey");
    return *layout;
}

/// Those in one layout, or in none.
void read_verdicts(const Element& object, const survey::Format& format,
                   const survey::Layout& layout, survey::Profile profile,
                   survey::FormatRecord* record) {
    for (const survey::Use use : survey::kUses) {
        const char* const member = name_of(use);
        const survey::Question question(use, layout);
        if (!has_question(format, question, profile)) {
            if (!object.contains(member)) continue;
            object.member(member).fail(fmt::format("{} has no use \"{}\"", format.name, member));
        }
        const std::string& name = object.text(member);
        const auto verdict = survey::find_verdict(name);
        if (verdict) {
            record->uses[question] = {*verdict, ""};
        } else if (name != kUnmeasuredUse) {
            object.refuse(member,
                          "\"{1}\" is {0}; expected yes, refused, wrong, not_offered, "
                          "not_applicable, crashed, hung, unknown or unmeasured");
        }
    }
}

/// A document may lack layouts, which are unmeasured then.
void read_surveyed_format(const Element& object, const survey::Format& format,
                          survey::Profile profile, survey::FormatRecord* record) {
    if (!record->uses.empty()) {
        object.fail(fmt::format("\"{}\" is given twice", format.name));
    }
    read_verdicts(object, format, {}, profile, record);
    std::vector<survey::Layout> seen;
    for (const Element& each : object.list("layouts")) {
        const survey::Layout layout = read_layout(each);
        const std::vector<survey::Layout>& known = layouts_of(format);
        if (std::find(known.begin(), known.end(), layout) == known.end()) {
            each.fail(fmt::format("this is no layout of {}", format.name));
        }
        if (std::find(seen.begin(), seen.end(), layout) != seen.end()) {
            each.fail("this layout is given twice");
        }
        seen.push_back(layout);
        read_verdicts(each, format, layout, profile, record);
    }
}

void read_detail(const Element& object, SurveyedProfile* profile) {
    const survey::Format& format = read_format(object);
    const std::string& name = object.text("use");
    const std::string& text = object.text("text");
    auto& uses =
        profile->formats[static_cast<std::size_t>(&format - survey::formats().data())].uses;
    const survey::Layout layout = read_layout(object);
    const auto found = std::find_if(uses.begin(), uses.end(), [&](const auto& use) {
        return layout == use.first.layout && name == name_of(use.first.use);
    });
    if (found == uses.end()) {
        object.member("use").fail(
            fmt::format("{} is no use of {} that has a verdict", in_quotes(name), format.name));
    }
    if (text.empty() || !found->second.text.empty()) {
        object.member("text").fail(text.empty() ? "\"text\" is empty"
                                                : "\"text\" is given twice for this use");
    }
    found->second.text = text;
}

SurveyedProfile read_profile(const Element& object) {
    SurveyedProfile profile;
    profile.profile = read_profile_name(object);
    profile.glVersion = object.text_or_null("gl_version");
    if (object.contains("context")) {
        profile.lack = object.text("context");
        if (profile.glVersion || !survey::has_no_formats(profile.lack)) {
            object.member("context").fail(
                "\"context\" must be not_offered, crashed or hung, and \"gl_version\" null");
        }
    }
    const std::vector<Element> formats = object.list("formats");
    const std::vector<Element> details = object.list("details");
    if (!profile.lack.empty() && !formats.empty()) {
        object.member("formats").fail("there are formats, and no context");
    }
    for (const Element& each : formats) {
        const survey::Format& format = read_format(each);
        const auto index = static_cast<std::size_t>(&format - survey::formats().data());
        read_surveyed_format(each, format, profile.profile, &profile.formats[index]);
    }
    for (const Element& each : details) read_detail(each, &profile);
    return profile;
}

}  // namespace

survey::Profile read_profile_name(const Element& object) {
    const std::string& name = object.text("profile");
    for (const survey::Profile profile : survey::kProfiles) {
        if (name == name_of(profile)) return profile;
    }
    object.refuse("profile", "{0} is no profile; expected compatibility, core or es");
}

Json describe_survey(const Survey& survey) {
    return {{"version", kSurveyVersion}, {"profiles", list_of(survey, describe_profile)}};
}

Survey read_survey(const Element& set) {
    if (!set.contains("survey")) return {};
    const Element object = set.member("survey");
    object.integer("version", kSurveyVersion, kSurveyVersion);
    Survey survey;
    for (const Element& each : object.list("profiles")) {
        SurveyedProfile profile = read_profile(each);
        // In the profiles' order, each once.
        if (!survey.empty() && survey.back().profile >= profile.profile) {
            each.member("profile").fail(
                "expected compatibility, core and es in this order, each once at most");
        }
        survey.push_back(std::move(profile));
    }
    return survey;
}

}  // namespace texprobe::ctl
