// The records that the tool writes and applications read, in the user's preferences: identifiers,
// keys, the version rule, and the reading and writing of verdicts.
//
// A verdict is one boolean under a flag key, and a crash-safe state machine:
//   absent  not measured yet; the only state in which a test runs
//   false   measured and failed, or started and never finished
//   true    measured and passed
// Before a test touches the driver, false is written and synchronized to disk. The outcome then
// replaces it without a synchronization of its own: if the process dies before the next one, the
// test counts as failed.

#ifndef TEXPROBE_RECORDS_H
#define TEXPROBE_RECORDS_H

#include <CoreFoundation/CoreFoundation.h>
#include <sys/sysctl.h>

#include <array>
#include <cstddef>

#include "records/formats.h"

namespace texprobe {

namespace {

// The version of the measurement, not of the release. Records of an older one are removed and
// measured again, so it only rises when verdicts may change.
const double __version = 0.21;

/// The domain of the tool's own messages and the prefix of every application identifier.
inline CFStringRef preferences_domain() {
    return CFSTR("org.texprobe.texprobe2");
}

/// Text for a "%s": never null, a missing string is printed as "(null)".
inline const char* text_of(CFStringRef string) {
    const char* text = string ? CFStringGetCStringPtr(string, kCFStringEncodingMacRoman) : nullptr;
    return text ? text : "(null)";
}

inline void release(CFTypeRef object) {
    if (object) CFRelease(object);
}

inline const char* read_system_version() {
    std::size_t length = 0;
    sysctlbyname("kern.osversion", nullptr, &length, nullptr, 0);
    char* version = new char[length];
    sysctlbyname("kern.osversion", version, &length, nullptr, 0);
    return version;
}

/// The operating system's build string; read once, by the first thread that asks, and never freed.
inline const char* get_system_version() {
    static const char* const osver = read_system_version();
    return osver;
}

/// The identifier under which one renderer's records of one system build live; owned by the caller.
inline CFStringRef create_application_id(int rendererID) {
    return CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%@.%x.%s"), preferences_domain(),
                                    static_cast<unsigned>(rendererID), get_system_version());
}

/// The version rule: reads `value` into `*version`. True if it is a number and not older than ours;
/// false for a NaN.
inline bool is_current_version(CFTypeRef value, double* version) {
    return value && CFGetTypeID(value) == CFNumberGetTypeID() &&
           CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberDoubleType, version) &&
           *version >= __version;
}

inline void write_version(CFStringRef appID) {
    const CFNumberRef number = CFNumberCreate(nullptr, kCFNumberDoubleType, &__version);
    CFPreferencesSetAppValue(CFSTR("VERSION"), number, appID);
    release(number);
}

/// A string value for an identification string of the driver; owned by the caller. Null for a
/// driver that returns none, or one that is not ASCII.
inline CFStringRef create_identification(const unsigned char* text) {
    return text ? CFStringCreateWithCString(nullptr, reinterpret_cast<const char*>(text),
                                            kCFStringEncodingASCII)
                : nullptr;
}

/// The names of the formats, in the order of the table.
inline const std::array<CFStringRef, kFormatCount>& format_names() {
#define TEXPROBE_NAME(name, ...) CFSTR(name),
    static const std::array<CFStringRef, kFormatCount> names = {TEXPROBE_FORMATS(TEXPROBE_NAME)};
#undef TEXPROBE_NAME
    return names;
}

/// The six flag keys of one format.
class FlagKeys {
public:
    explicit FlagKeys(CFStringRef formatName) {
#define TEXPROBE_PATTERN(key, ...) CFSTR("%@_" key),
        const CFStringRef patterns[] = {TEXPROBE_CAPABILITIES(TEXPROBE_PATTERN)};
#undef TEXPROBE_PATTERN
        for (std::size_t i = 0; i < kCapabilityCount; ++i) {
            keys_[i] = CFStringCreateWithFormat(nullptr, nullptr, patterns[i], formatName);
        }
    }
    ~FlagKeys() {
        for (CFStringRef key : keys_) release(key);
    }
    FlagKeys(const FlagKeys&) = delete;
    FlagKeys& operator=(const FlagKeys&) = delete;

    CFStringRef operator[](Capability capability) const {
        return keys_[capability];
    }

    /// Removes the six records, and only those, in one operation.
    void remove_records(CFStringRef appID) const {
        std::array<const void*, kCapabilityCount> values;
        for (std::size_t i = 0; i < kCapabilityCount; ++i) values[i] = keys_[i];
        const CFArrayRef list =
            CFArrayCreate(nullptr, values.data(), kCapabilityCount, &kCFTypeArrayCallBacks);
        CFPreferencesSetMultiple(nullptr, list, appID, kCFPreferencesCurrentUser,
                                 kCFPreferencesAnyHost);
        release(list);
    }

private:
    std::array<CFStringRef, kCapabilityCount> keys_;
};

inline void write_verdict(CFStringRef key, bool verdict, CFStringRef appID) {
    CFPreferencesSetAppValue(key, verdict ? kCFBooleanTrue : kCFBooleanFalse, appID);
}

}  // namespace

}  // namespace texprobe

#endif
