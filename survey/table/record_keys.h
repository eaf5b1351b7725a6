// Where the survey's records are: under "org.texprobe.survey1.<renderer>.<build>" three texts for
// each profile, and one for each profile and format. The number in the domain rises when verdicts
// may change.

#ifndef TEXPROBE_SURVEY_RECORD_KEYS_H
#define TEXPROBE_SURVEY_RECORD_KEYS_H

#include <string>

#include "table/promises.h"

namespace texprobe::survey {

inline constexpr const char* kDomain = "org.texprobe.survey1";

inline std::string key_of(Profile profile) {
    return name_of(profile);
}

// The strings of the profile's context, so that applications find their own.
inline std::string vendor_key_of(Profile profile) {
    return key_of(profile) + ".GL_VENDOR";
}
inline std::string renderer_key_of(Profile profile) {
    return key_of(profile) + ".GL_RENDERER";
}

inline std::string key_of(Profile profile, const Format& format) {
    return std::string(name_of(profile)) + '.' + format.name;
}

// A profile's record: the context's version, or one of these. The driver is blamed only when a
// second run has ended in opening the context: a user may have killed the first.
inline constexpr const char* kOpening = "opening";
inline constexpr const char* kOpeningAgain = "opening again";
inline constexpr const char* kContextNotOffered = "not_offered";
inline constexpr const char* kContextCrashed = "crashed";
inline constexpr const char* kContextHung = "hung";  ///< Written by a supervisor.

inline bool is_opening(const std::string& record) {
    return record == kOpening || record == kOpeningAgain;
}

/// There is no context.
inline bool has_no_formats(const std::string& record) {
    return record == kContextNotOffered || record == kContextCrashed || record == kContextHung;
}

}  // namespace texprobe::survey

#endif
