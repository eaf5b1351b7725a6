// The tool's test driver: measures every renderer behind every active display. It ends the process
// where a renderer's context cannot be set up.

#ifndef TEXPROBE_DRIVER_H
#define TEXPROBE_DRIVER_H

#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/CoreFoundation.h>
#include <OpenGL/OpenGL.h>
#include <OpenGL/gl.h>
#include <OpenGL/glext.h>
#include <OpenGL/glu.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "measuring/pattern.h"
#include "measuring/probe.h"
#include "records/lookup.h"
#include "records/records.h"
#include "runs/interruption.h"
#include "runs/measuring_turn.h"

namespace texprobe {

namespace {

[[noreturn]] inline void end_set_up(const char* message) {
    std::fputs(message, stderr);
    std::exit(1);
}

/// An offscreen context bound to exactly one renderer. Ends the process on failure.
class OffscreenContext {
public:
    explicit OffscreenContext(GLint rendererID) {
        const CGLPixelFormatAttribute attributes[] = {
            kCGLPFARendererID, static_cast<CGLPixelFormatAttribute>(rendererID),
            static_cast<CGLPixelFormatAttribute>(0)};
        GLint screenCount = 0;
        GLint screen = 0;
        if (CGLChoosePixelFormat(attributes, &pixelFormat_, &screenCount) != kCGLNoError) {
            end_set_up("*** cannot choose pixel format");
        }
        if (CGLCreateContext(pixelFormat_, nullptr, &context_) != kCGLNoError) {
            end_set_up("*** cannot create OpenGL context");
        }
        if (CGLGetVirtualScreen(context_, &screen) != kCGLNoError) {
            end_set_up("*** cannot get virtual screen");
        }
        if (CGLCreatePBuffer(kImageSize, kImageSize, GL_TEXTURE_2D, GL_RGBA, 0, &pbuffer_) !=
            kCGLNoError) {
            end_set_up("*** cannot create pixel buffer");
        }
        CGLSetPBuffer(context_, pbuffer_, 0, 0, screen);
        CGLSetCurrentContext(context_);
    }
    ~OffscreenContext() {
        // The platform allows destroying the current context.
        CGLDestroyContext(context_);
        CGLDestroyPBuffer(pbuffer_);
        CGLDestroyPixelFormat(pixelFormat_);
    }
    OffscreenContext(const OffscreenContext&) = delete;
    OffscreenContext& operator=(const OffscreenContext&) = delete;

private:
    CGLPixelFormatObj pixelFormat_ = nullptr;
    CGLContextObj context_ = nullptr;
    CGLPBufferObj pbuffer_ = nullptr;
};

inline bool has_extension(const char* name, const GLubyte* extensions) {
    return extensions && gluCheckExtension(reinterpret_cast<const GLubyte*>(name), extensions);
}

inline void read_extensions(CFStringRef appID) {
    const GLubyte* extensions = glGetString(GL_EXTENSIONS);
    __hasFBO = has_extension("GL_EXT_framebuffer_object", extensions);
    std::fprintf(stderr, "%s[%d] GL_EXT_framebuffer_object : %s\n", text_of(appID), getpid(),
                 __hasFBO ? "SUPPORTED" : "UNSUPPORTED");
    __hasPBO = has_extension("GL_ARB_pixel_buffer_object", extensions);
    std::fprintf(stderr, "%s[%d] GL_ARB_pixel_buffer_object : %s\n", text_of(appID), getpid(),
                 __hasPBO ? "SUPPORTED" : "UNSUPPORTED");
}

inline void set_up_render_target() {
    GLenum buffer = GL_FRONT;
    if (__hasFBO) {
        constexpr GLuint kFramebuffer = 1;
        glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, kFramebuffer);
        glBindTexture(GL_TEXTURE_2D, kTargetTexture);
        // There is no data, but a driver may choose the storage by this type, and with it the
        // verdicts.
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, kImageSize, kImageSize, 0, GL_RGBA, GL_BYTE,
                     nullptr);
        glFramebufferTexture2DEXT(GL_FRAMEBUFFER_EXT, GL_COLOR_ATTACHMENT0_EXT, GL_TEXTURE_2D,
                                  kTargetTexture, 0);
        buffer = GL_COLOR_ATTACHMENT0_EXT;
    }
    glDrawBuffer(buffer);
    glReadBuffer(buffer);
    glViewport(0, 0, kImageSize, kImageSize);
}

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
        read_extensions(appID);
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
