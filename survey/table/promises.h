// Whether a context promises a use, and who says so.

#ifndef TEXPROBE_SURVEY_PROMISES_H
#define TEXPROBE_SURVEY_PROMISES_H

#include <set>
#include <string>

#include "table/format_table.h"

namespace texprobe::survey {

enum class Profile : unsigned char { kCompatibility, kCore, kEs };

constexpr std::array<Profile, 3> kProfiles = {Profile::kCompatibility, Profile::kCore,
                                              Profile::kEs};

/// "compatibility", "core" or "es".
const char* name_of(Profile profile);

/// A context's profile, version and extensions.
struct ContextFacts {
    Profile profile = Profile::kCompatibility;
    int version = 0;  ///< As 46 for 4.6.
    std::set<std::string> extensions;

    bool is_desktop(int since) const { return profile != Profile::kEs && version >= since; }
    bool is_es(int since) const { return profile == Profile::kEs && version >= since; }
    bool has(const char* extension) const { return extensions.count(extension) != 0; }
};

/// Who promises, as "OpenGL 3.0" or the extension's name; empty without a promise.
std::string who_promises(const ContextFacts& facts, const char* words);

/// The same for a use of a format. It follows from the documents' tables where they do not say it.
std::string who_promises(const ContextFacts& facts, const Format& format, Use use);

}  // namespace texprobe::survey

#endif
