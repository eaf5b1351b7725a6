#include "commands/cell_names.h"

#include <cctype>

#include "commands/selection.h"

namespace texprobe::ctl {

namespace {

std::string simplified(const std::string& name) {
    std::string text;
    for (const char c : name) {
        const bool isJoint = c == ' ' || c == '-';
        text += isJoint ? '_' : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return text;
}

std::string without_affixes(std::string name) {
    constexpr std::string_view kPrefix = "GL_";
    constexpr std::string_view kSuffix = "_ARB";
    if (name.rfind(kPrefix, 0) == 0) name.erase(0, kPrefix.size());
    const std::size_t at = name.rfind(kSuffix);
    if (at != std::string::npos && at + kSuffix.size() == name.size()) name.erase(at);
    return name;
}

}  // namespace

std::size_t find_format(const std::string& name) {
    const std::string wanted = without_affixes(simplified(name));
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        if (wanted == without_affixes(kFormats[format].name)) return format;
    }
    throw UsageError("there is no format \"" + name +
                     "\"; expected one of the sixteen that `texprobectl show` lists, such as "
                     "GL_RGBA8");
}

Capability find_capability(const std::string& name) {
    const std::string wanted = simplified(name);
    for (std::size_t i = 0; i < kCapabilityCount; ++i) {
        const CapabilityNames& names = kCapabilities[i];
        for (const char* known :
             {names.key, names.printed, names.member, names.words, names.column}) {
            if (wanted == simplified(known)) return static_cast<Capability>(i);
        }
    }
    throw UsageError("there is no capability \"" + name +
                     "\"; expected create, render, set, reset, get or read");
}

SurveyChoice find_choice(const std::string& profile, const std::string& format) {
    SurveyChoice choice;
    for (const survey::Profile each : survey::kProfiles) {
        if (profile == name_of(each)) choice.profile = each;
    }
    choice.format = survey::find_format(format);
    if (!profile.empty() && !choice.profile) {
        throw UsageError("--profile expects compatibility, core or es, not \"" + profile + '"');
    }
    if (!format.empty() && !choice.format) {
        throw UsageError("\"" + format + "\" is no format of the survey");
    }
    return choice;
}

}  // namespace texprobe::ctl
