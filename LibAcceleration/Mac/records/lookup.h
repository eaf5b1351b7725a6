// The lookup: this machine's renderers, and which of their record sets is of the current context.

#ifndef TEXPROBE_LOOKUP_H
#define TEXPROBE_LOOKUP_H

#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/CoreFoundation.h>
#include <OpenGL/OpenGL.h>
#include <OpenGL/gl.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>

#include "records/records.h"
#include "runs/measuring_turn.h"

namespace texprobe {

namespace {

constexpr std::uint32_t kMaxDisplays = 32;

/// Called with the function that failed, and the system's error.
using Complain = std::function<void(const char* failure, int error)>;

inline void complain_on_stderr(const char* failure, int error) {
    std::fprintf(stderr, "*** %s (%d)\n", failure, error);
}

/// The renderers that can drive one display; empty on failure.
class RendererList {
public:
    RendererList(CGOpenGLDisplayMask mask, const Complain& complain) {
        const CGLError error = CGLQueryRendererInfo(mask, &info_, &count_);
        if (error != kCGLNoError) {
            complain("cannot query renderer info", error);
            info_ = nullptr;
            count_ = 0;
        }
    }
    ~RendererList() {
        if (info_) CGLDestroyRendererInfo(info_);
    }
    RendererList(const RendererList&) = delete;
    RendererList& operator=(const RendererList&) = delete;

    CGLRendererInfoObj info() const { return info_; }
    GLint count() const { return count_; }

private:
    CGLRendererInfoObj info_ = nullptr;
    GLint count_ = 0;
};

/// Writes at most 32 active displays and their number; false on failure.
inline bool list_displays(CGDirectDisplayID (&displays)[kMaxDisplays], std::uint32_t* count,
                          const Complain& complain) {
    const CGError error = CGGetActiveDisplayList(kMaxDisplays, displays, count);
    if (error != kCGErrorSuccess) {
        complain("cannot get active display list", error);
    }
    return error == kCGErrorSuccess;
}

/// The identification strings of the current context.
class ContextStrings {
public:
    ContextStrings()
        : vendor_(create_identification(glGetString(GL_VENDOR))),
          version_(create_identification(glGetString(GL_VERSION))),
          renderer_(create_identification(glGetString(GL_RENDERER))) {}
    ~ContextStrings() {
        release(vendor_);
        release(version_);
        release(renderer_);
    }
    ContextStrings(const ContextStrings&) = delete;
    ContextStrings& operator=(const ContextStrings&) = delete;

    CFStringRef vendor() const { return vendor_; }
    CFStringRef version() const { return version_; }
    CFStringRef renderer() const { return renderer_; }

    /// Are the records of `appID` current, complete, and of this context's renderer? The version
    /// string names the context's profile, so only a compatibility context can be compared by it.
    bool match(CFStringRef appID, bool isVersionCompared = true) const {
        const CFTypeRef recordedVersion = CFPreferencesCopyAppValue(CFSTR("VERSION"), appID);
        const CFTypeRef vendor = CFPreferencesCopyAppValue(CFSTR("GL_VENDOR"), appID);
        const CFTypeRef version = CFPreferencesCopyAppValue(CFSTR("GL_VERSION"), appID);
        const CFTypeRef renderer = CFPreferencesCopyAppValue(CFSTR("GL_RENDERER"), appID);
        double number = 0.0;
        const bool matches =
            is_current_version(recordedVersion, &number) && is_equal_string(vendor, vendor_) &&
            (is_equal_string(version, version_) || (!isVersionCompared && is_string(version))) &&
            is_equal_string(renderer, renderer_);
        release(recordedVersion);
        release(vendor);
        release(version);
        release(renderer);
        return matches;
    }

private:
    static bool is_string(CFTypeRef record) {
        return record && CFGetTypeID(record) == CFStringGetTypeID();
    }

    /// False without a context string: one that could not be read matches nothing.
    static bool is_equal_string(CFTypeRef record, CFStringRef string) {
        return is_string(record) && string &&
               CFStringCompare(static_cast<CFStringRef>(record), string, 0) == kCFCompareEqualTo;
    }

    CFStringRef vendor_;
    CFStringRef version_;
    CFStringRef renderer_;
};

/// May a set match while a run is at work on it? A false in it may be that of a test under way.
enum class SetsInHand { kSkipped, kTaken };

/// The identifier of the first renderer of one display whose records match; owned by the caller.
inline CFStringRef copy_matching_id(CGDirectDisplayID display, SetsInHand setsInHand) {
    const std::string turnFile = turn_file();
    const ContextStrings strings;
    const RendererList renderers(CGDisplayIDToOpenGLDisplayMask(display), complain_on_stderr);
    for (GLint index = 0; index < renderers.count(); ++index) {
        GLint rendererID = 0;
        const CGLError error =
            CGLDescribeRenderer(renderers.info(), index, kCGLRPRendererID, &rendererID);
        if (error != kCGLNoError) {
            complain_on_stderr("cannot get renderer ID", error);
            continue;
        }
        const CFStringRef appID = create_application_id(rendererID);
        const SetAtRest atRest(turnFile, text_of(appID));
        // The tool may just have written these records in its own process.
        CFPreferencesAppSynchronize(appID);
        if (strings.match(appID) && (setsInHand == SetsInHand::kTaken || atRest.has_lasted())) {
            return appID;
        }
        release(appID);
    }
    return nullptr;
}

/// The identifier of the renderer that the current context runs on, owned by the caller; null when
/// no renderer of any active display has usable records, at rest unless `setsInHand` takes others,
/// too. Without a current context there are no strings to match, so the result is null.
inline CFStringRef copyCurrentRendererID(SetsInHand setsInHand = SetsInHand::kSkipped) {
    CGDirectDisplayID displays[kMaxDisplays];
    std::uint32_t count = 0;
    if (!list_displays(displays, &count, complain_on_stderr)) return nullptr;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (const CFStringRef appID = copy_matching_id(displays[i], setsInHand)) return appID;
    }
    return nullptr;
}

}  // namespace

}  // namespace texprobe

#endif
