#include "commands/selection.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <filesystem>
#include <string_view>

#include "documents/document.h"

namespace texprobe::ctl {

namespace {

bool is_number(std::string_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// The part after the domain, which all identifiers have.
std::string_view own_part(std::string_view id) {
    const std::size_t begin = kDomain.size() + 1;
    return id.size() > begin ? id.substr(begin) : std::string_view();
}

/// No identifier is: a file that is missing is said to be.
bool is_named_as_file(std::string_view text) {
    return text.ends_with(".json") || text.find('/') != std::string_view::npos;
}

bool has_component(std::string_view text, std::string_view component) {
    while (true) {
        const std::size_t point = text.find('.');
        if (text.substr(0, point) == component) return true;
        if (point == std::string_view::npos) return false;
        text.remove_prefix(point + 1);
    }
}

/// A number that is in no list must not name a set by chance.
bool has_part(const RecordSet& set, const std::string& part) {
    const std::string_view own = own_part(set.id);
    if (is_number(part)) return has_component(own, part);
    return !part.empty() && own.find(part) != std::string_view::npos;
}

std::string simplified(const std::string& name) {
    std::string text;
    for (const char c : name) {
        const bool isJoint = c == ' ' || c == '-';
        text += isJoint ? '_' : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return text;
}

std::string without_affixes(std::string_view name) {
    if (name.starts_with("GL_")) name.remove_prefix(3);
    if (name.ends_with("_ARB")) name.remove_suffix(4);
    return std::string(name);
}

}  // namespace

const RecordSet& find_set(const std::string& text, const RecordSets& all) {
    if (is_number(text)) {
        std::size_t number = 0;
        const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
        if (end.ec == std::errc() && number >= 1 && number <= all.size()) return all[number - 1];
    }

    std::vector<const RecordSet*> found;
    // A renderer's whole ID means that renderer, although it may stand in a build, too.
    std::vector<const RecordSet*> ofRenderer;
    for (const RecordSet& set : all) {
        if (set.id == text) return set;
        if (has_part(set, text)) found.push_back(&set);
        if (set.rendererID == text) ofRenderer.push_back(&set);
    }
    if (found.size() == 1) return *found.front();
    if (ofRenderer.size() == 1) return *ofRenderer.front();
    if (found.empty()) {
        throw UsageError("no record set matches \"" + text +
                         "\"; expected an identifier, a part of one, or a number that "
                         "`texprobectl list` shows");
    }
    throw UsageError("\"" + text + "\" matches " + std::to_string(found.size()) +
                     " record sets; expected a part that only one identifier has, or a number "
                     "that `texprobectl list` shows");
}

RecordSets find_sets(const std::vector<std::string>& texts, const RecordSets& all) {
    RecordSets sets;
    for (const std::string& text : texts) {
        const RecordSet& found = find_set(text, all);
        const bool isNew = std::none_of(sets.begin(), sets.end(),
                                        [&](const RecordSet& set) { return set.id == found.id; });
        if (isNew) sets.push_back(found);
    }
    return sets;
}

const RecordSets& KnownSets::all() {
    if (!all_) all_ = read_();
    return *all_;
}

bool is_document(const std::string& text) {
    std::error_code ignored;
    return text == "-" ||
           (!is_number(text) && (is_named_as_file(text) || std::filesystem::exists(text, ignored)));
}

RecordSets KnownSets::find_or_read(const std::string& text) {
    return is_document(text) ? read_documents({text}) : RecordSets{find_set(text, all())};
}

RecordSets present_sets(RecordSets all) {
    std::erase_if(all, [](const RecordSet& set) { return !set.isPresent; });
    return all;
}

const RecordSet& only_present_set(const RecordSets& all, bool isSurveyed) {
    std::vector<const RecordSet*> present;
    for (const RecordSet& set : all) {
        const bool isWanted = isSurveyed ? !set.survey.empty() : is_measured(set);
        if (set.isPresent && isWanted) present.push_back(&set);
    }
    if (present.empty()) {
        throw UsageError(
            std::string("nothing is recorded for this machine's present build; ") +
            (isSurveyed ? "`texprobectl survey` surveys it" : "`texprobectl measure` measures it"));
    }
    if (present.size() > 1) {
        throw UsageError("there are " + std::to_string(present.size()) +
                         " record sets of this machine's present build; choose one with --set");
    }
    return *present.front();
}

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
