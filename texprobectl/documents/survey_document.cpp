#include "documents/survey_document.h"

#include <fmt/format.h>
#include <table/record_keys.h>

#include <algorithm>

namespace texprobe::ctl {

namespace {

/// Of the member; it rises when a reader would misunderstand what has changed.
constexpr int kSurveyVersion = 1;

constexpr const char* kIndent = "            ";

Json format_of(const survey::Format& format, const survey::FormatRecord& record) {
    Json object = {{"name", format.name}};
    for (const survey::Use use : survey::kUses) {
        if (!has_use(format, use)) continue;
        const auto judged = record.uses.find(use);
        object[name_of(use)] =
            judged == record.uses.end() ? kUnmeasuredUse : name_of(judged->second.verdict);
    }
    object["layouts"] = Json::array();
    return object;
}

void write_profile(const SurveyedProfile& profile, std::ostream& output) {
    std::vector<Json> formats;
    std::vector<Json> details;
    for (std::size_t i = 0; i < profile.formats.size() && profile.lack.empty(); ++i) {
        const survey::Format& format = survey::formats()[i];
        formats.push_back(format_of(format, profile.formats[i]));
        for (const auto& [use, judged] : profile.formats[i].uses) {
            if (judged.text.empty() || !has_use(format, use)) continue;
            details.push_back(
                {{"name", format.name}, {"use", name_of(use)}, {"text", judged.text}});
        }
    }
    output << "\n          {\n"
           << kIndent << "\"profile\": \"" << name_of(profile.profile) << "\",\n";
    output << kIndent << "\"gl_version\": " << line_of(text_or_null(profile.glVersion)) << ",\n";
    if (!profile.lack.empty()) output << kIndent << "\"context\": \"" << profile.lack << "\",\n";
    write_lines("formats", formats, kIndent, output);
    output << ",\n";
    write_lines("details", details, kIndent, output);
    output << "\n          }";
}

const survey::Format& read_format(const Json& object, const Expect& expect) {
    const std::string& name = expect.text(object, "name");
    const survey::Format* const format = survey::find_format(name);
    if (!format) {
        expect.fail(expect.member(object, "name"), in_quotes(name) + " is no format of the survey");
    }
    return *format;
}

void read_verdicts(const Json& object, const survey::Format& format, survey::FormatRecord* record,
                   const Expect& expect) {
    if (!record->uses.empty()) {
        expect.fail(object, fmt::format("\"{}\" is given twice", format.name));
    }
    for (const survey::Use use : survey::kUses) {
        const char* const member = name_of(use);
        if (!has_use(format, use)) {
            if (!object.contains(member)) continue;
            expect.fail(expect.member(object, member),
                        fmt::format("{} has no use \"{}\"", format.name, member));
        }
        const std::string& name = expect.text(object, member);
        const auto verdict = survey::find_verdict(name);
        if (verdict && *verdict != survey::Verdict::kStarted) {
            record->uses[use] = {*verdict, ""};
        } else if (name != kUnmeasuredUse) {
            expect.fail(expect.member(object, member),
                        fmt::format("\"{}\" is {}; expected yes, refused, wrong, not_offered, "
                                    "not_applicable, crashed, hung, unknown or unmeasured",
                                    member, in_quotes(name)));
        }
    }
    if (!expect.array(object, "layouts").empty()) {
        expect.fail(expect.member(object, "layouts"), "\"layouts\" must be empty");
    }
}

void read_detail(const Json& object, SurveyedProfile* profile, const Expect& expect) {
    const survey::Format& format = read_format(object, expect);
    const std::string& name = expect.text(object, "use");
    const std::string& text = expect.text(object, "text");
    auto& uses =
        profile->formats[static_cast<std::size_t>(&format - survey::formats().data())].uses;
    const auto found = std::find_if(uses.begin(), uses.end(),
                                    [&](const auto& use) { return name == name_of(use.first); });
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
        read_verdicts(each, format, &profile.formats[index], expect);
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
    expect.fail(expect.member(object, "profile"),
                in_quotes(name) + " is no profile; expected compatibility, core or es");
}

void write_survey(const Survey& survey, std::ostream& output) {
    output << ",\n      \"survey\": {\n        \"version\": " << kSurveyVersion
           << ",\n        \"profiles\": [";
    const char* between = "";
    for (const SurveyedProfile& profile : survey) {
        output << between;
        between = ",";
        write_profile(profile, output);
    }
    output << "\n        ]\n      }";
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
