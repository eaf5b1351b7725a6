// The tool's test driver: measures every renderer behind every active display. It ends the process
// where a renderer's context cannot be set up.

#ifndef TEXPROBE_DRIVER_H
#define TEXPROBE_DRIVER_H

#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/CoreFoundation.h>
#include <OpenGL/OpenGL.h>
#include <OpenGL/gl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>

#include "measuring/offscreen_context.h"
#include "measuring/probe.h"
#include "measuring/render_target.h"
#include "records/lookup.h"
#include "records/records.h"
#include "runs/interruption.h"
#include "runs/measuring_turn.h"

namespace texprobe {

namespace {

/// Stores one identification string of the current context and prints it under `label`, if any. A
/// string that is missing or not ASCII removes the record: with a stale one, applications would
/// take these verdicts for another driver's.
inline void write_identification(GLenum name, CFStringRef key, const char* label,
                                 CFStringRef appID) {
    const CFStringRef value = create_identification(glGetString(name));
    CFPreferencesSetAppValue(key, value, appID);
    if (label) {
        std::fprintf(stderr, "%s[%d] %s: %s\n", text_of(appID), getpid(), label, text_of(value));
    }
    release(value);
}

/// Keeps current records. Otherwise removes the old verdicts and starts a set of this version.
inline void prepare_records(CFStringRef appID) {
    const CFTypeRef value = CFPreferencesCopyAppValue(CFSTR("VERSION"), appID);
    double version = 0.0;
    const bool current = is_current_version(value, &version);
    release(value);
    if (current) {
        std::fprintf(stderr, "%s[%d] UP TO DATE (version: %0.2f >= %0.2f)\n", text_of(appID),
                     getpid(), version, __version);
        return;
    }
    test_texture_format_caps(appID, 1);
    write_version(appID);
    std::fprintf(stderr, "%s[%d] VERSION: %0.2f\n", text_of(appID), getpid(), __version);
    CFPreferencesAppSynchronize(appID);
}

[[noreturn]] inline void end_interrupted_run() {
    std::fflush(stdout);
    end_by_interruption();
}

/// One renderer run's turn to measure.
class Turn {
public:
    explicit Turn(CFStringRef appID) : appID_(appID) {
        // A complete set is only looked at, and stays free for applications.
        turn_.take_in_hand({});
        static bool isTold = false;  // Once for all renderers.
        const std::string trouble = turn_.trouble();
        if (!trouble.empty() && !std::exchange(isTold, true)) {
            std::fprintf(stderr, "*** %s\n", trouble.c_str());
        }
        if (turn_.had_to_wait()) CFPreferencesAppSynchronize(appID_);
        __betweenTests = [this] { go_on(); };
        __beforeChange = [this] { turn_.take_in_hand(text_of(appID_)); };
    }
    ~Turn() {
        __betweenTests = nullptr;
        __beforeChange = nullptr;
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    /// Between two tests: ends the run if the user interrupted it, and keeps the turn otherwise.
    void go_on() {
        if (is_interrupted()) {
            CFPreferencesAppSynchronize(appID_);
            end_interrupted_run();
        }
        // Another run may have measured the rest while this one hung.
        if (!turn_.advance()) CFPreferencesAppSynchronize(appID_);
    }

private:
    const CFStringRef appID_;
    MeasuringTurn turn_{turn_settings(), [] {
                            if (is_interrupted()) end_interrupted_run();
                        }};
};

inline void run_renderer(GLint rendererID) {
    const CFStringRef appID = create_application_id(rendererID);
    std::fprintf(stderr, "%s[%d] testing renderer: %d\n", text_of(appID), getpid(), rendererID);
    {
        Turn turn(appID);
        prepare_records(appID);
        const OffscreenContext context(rendererID);
        read_extensions([&](const char* name, bool isSupported) {
            std::fprintf(stderr, "%s[%d] %s : %s\n", text_of(appID), getpid(), name,
                         isSupported ? "SUPPORTED" : "UNSUPPORTED");
        });
        set_up_render_target();
        test_texture_format_caps(appID, 0);
        turn.go_on();
        // Last, because applications take complete strings for a complete measurement.
        write_identification(GL_VENDOR, CFSTR("GL_VENDOR"), "GL_VENDOR", appID);
        write_identification(GL_VERSION, CFSTR("GL_VERSION"), "GL_VERSION", appID);
        write_identification(GL_RENDERER, CFSTR("GL_RENDERER"), nullptr, appID);
        CFPreferencesAppSynchronize(appID);
    }
    if (is_interrupted()) end_interrupted_run();
    release(appID);
}

inline void run_listed_renderer(CGLRendererInfoObj info, GLint index, CGDirectDisplayID display,
                                CGOpenGLDisplayMask mask) {
    GLint memory = 0;
    GLint rendererID = 0;
    CGLError error = CGLDescribeRenderer(info, index, kCGLRPTextureMemory, &memory);
    if (error != kCGLNoError) {
        std::fprintf(stderr, "*** cannot get renderer memory (%d)\n", error);
    }
    error = CGLDescribeRenderer(info, index, kCGLRPRendererID, &rendererID);
    if (error != kCGLNoError) {
        std::fprintf(stderr, "*** cannot get renderer ID (%d)\n", error);
        return;
    }
    std::printf("found display %d (%x) renderer ID: %x VRAM: %d MB\n", static_cast<int>(display),
                mask, static_cast<unsigned>(rendererID), memory / 1048576);
    run_renderer(rendererID);
}

inline void run_test() {
    std::printf("%s[%d] testing...\n", text_of(preferences_domain()), getpid());
    CGDirectDisplayID displays[kMaxDisplays];
    std::uint32_t count = 0;
    if (!list_displays(displays, &count, complain_on_stderr)) return;
    std::printf("%s[%d] found %u displays:\n", text_of(preferences_domain()), getpid(), count);
    for (std::uint32_t i = 0; i < count; ++i) {
        const CGOpenGLDisplayMask mask = CGDisplayIDToOpenGLDisplayMask(displays[i]);
        const RendererList renderers(mask, complain_on_stderr);
        for (GLint index = 0; index < renderers.count(); ++index) {
            run_listed_renderer(renderers.info(), index, displays[i], mask);
        }
    }
}

}  // namespace

}  // namespace texprobe

#endif
