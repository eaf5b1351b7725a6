// The probe: the tests of one texture format under the recording rule, and the pass over the
// sixteen formats.

#ifndef TEXPROBE_PROBE_H
#define TEXPROBE_PROBE_H

#include <CoreFoundation/CoreFoundation.h>
#include <OpenGL/gl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <functional>

#include "measuring/capability_tests.h"
#include "records/formats.h"
#include "records/records.h"

namespace texprobe {

namespace {

// Called before each test, and before its record is read; set by the test driver.
std::function<void()> __betweenTests;

// Called before a record is changed; set by the test driver.
std::function<void()> __beforeChange;

/// Runs one test under the recording rule: false reaches the disk before the driver is touched.
inline bool run_guarded(const CapabilityTest& test, CFStringRef key, CFStringRef appID,
                        GLenum internalFormat, CFStringRef formatName) {
    if (test.announcement) std::fputs(test.announcement, stderr);
    if (__beforeChange) __beforeChange();
    write_verdict(key, false, appID);
    CFPreferencesAppSynchronize(appID);
    const bool verdict = test.run(internalFormat);
    write_verdict(key, verdict, appID);
    std::fprintf(stderr, "%s[%d] %s %s: %d\n", text_of(appID), getpid(), text_of(formatName),
                 kCapabilityRows[test.capability].printed, verdict);
    return verdict;
}

/// Runs one format's tests that have no record yet; with `reset`, removes its six records instead.
inline void test_texture_format(CFStringRef appID, unsigned char reset, GLenum internalFormat,
                                CFStringRef formatName) {
    const FlagKeys keys(formatName);
    if (reset) {
        if (__beforeChange) __beforeChange();
        keys.remove_records(appID);
        return;
    }
    for_each_test([&](const CapabilityTest& test, bool applies) {
        if (__betweenTests) __betweenTests();
        const CFStringRef key = keys[test.capability];
        Boolean recorded = 0;
        const bool verdict = CFPreferencesGetAppBooleanValue(key, appID, &recorded);
        if (!applies || verdict || recorded) return verdict;
        return run_guarded(test, key, appID, internalFormat, formatName);
    });
}

/// The pass over the sixteen formats.
inline void test_texture_format_caps(CFStringRef appID, unsigned char reset) {
    for (std::size_t i = 0; i < kFormatCount; ++i) {
        test_texture_format(appID, reset, kFormats[i].internalFormat, format_names()[i]);
    }
}

}  // namespace

}  // namespace texprobe

#endif
