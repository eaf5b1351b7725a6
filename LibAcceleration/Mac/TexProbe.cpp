// The class that applications use, the lookup of the current context's records, and the tool's test
// driver. The private parts are included, so that all of it is one translation unit and nothing but
// the class has external linkage.

#include "TexProbe.h"

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
#include <iostream>
#include <map>
#include <string>

#include "TexProbe/distance.h"
#include "TexProbe/pattern.h"
#include "TexProbe/probe.h"
#include "TexProbe/records.h"
#include "interruption.h"
#include "measuring_turn.h"

namespace {

constexpr std::uint32_t kMaxDisplays = 32;

// The test driver.

[[noreturn]] void end_set_up(const char* message) {
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

bool has_extension(const char* name, const GLubyte* extensions) {
    return extensions && gluCheckExtension(reinterpret_cast<const GLubyte*>(name), extensions);
}

void read_extensions(CFStringRef appID) {
    const GLubyte* extensions = glGetString(GL_EXTENSIONS);
    __hasFBO = has_extension("GL_EXT_framebuffer_object", extensions);
    std::fprintf(stderr, "%s[%d] GL_EXT_framebuffer_object : %s\n", text_of(appID), getpid(),
                 __hasFBO ? "SUPPORTED" : "UNSUPPORTED");
    __hasPBO = has_extension("GL_ARB_pixel_buffer_object", extensions);
    std::fprintf(stderr, "%s[%d] GL_ARB_pixel_buffer_object : %s\n", text_of(appID), getpid(),
                 __hasPBO ? "SUPPORTED" : "UNSUPPORTED");
}

void set_up_render_target() {
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
void write_identification(GLenum name, CFStringRef key, const char* label, CFStringRef appID) {
    const CFStringRef value = create_identification(glGetString(name));
    CFPreferencesSetAppValue(key, value, appID);
    if (label) {
        std::fprintf(stderr, "%s[%d] %s: %s\n", text_of(appID), getpid(), label, text_of(value));
    }
    release(value);
}

/// Keeps current records. Otherwise removes the old verdicts and starts a set of this version.
void prepare_records(CFStringRef appID) {
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

[[noreturn]] void end_interrupted_run() {
    std::fflush(stdout);
    qor::end_by_interruption();
}

/// One renderer run's turn to measure.
class Turn {
public:
    explicit Turn(CFStringRef appID) : appID_(appID) {
        if (turn_.had_to_wait()) CFPreferencesAppSynchronize(appID_);
        __betweenTests = [this] { go_on(); };
    }
    ~Turn() { __betweenTests = nullptr; }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    /// Between two tests: ends the run if the user interrupted it, and keeps the turn otherwise.
    void go_on() {
        if (qor::is_interrupted()) {
            CFPreferencesAppSynchronize(appID_);
            end_interrupted_run();
        }
        // Another run may have measured the rest while this one hung.
        if (!turn_.advance()) CFPreferencesAppSynchronize(appID_);
    }

private:
    const CFStringRef appID_;
    qor::MeasuringTurn turn_{qor::turn_settings(), [] {
                                 if (qor::is_interrupted()) end_interrupted_run();
                             }};
};

void run_renderer(GLint rendererID) {
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
    if (qor::is_interrupted()) end_interrupted_run();
    release(appID);
}

void run_listed_renderer(CGLRendererInfoObj info, GLint index, CGDirectDisplayID display,
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

/// The renderers that can drive one display; empty, with a message, on failure.
class RendererList {
public:
    explicit RendererList(CGOpenGLDisplayMask mask) {
        const CGLError error = CGLQueryRendererInfo(mask, &info_, &count_);
        if (error != kCGLNoError) {
            std::fprintf(stderr, "*** cannot query renderer info (%d)\n", error);
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

/// Writes at most 32 active displays and their number; prints the error and returns false.
bool list_displays(CGDirectDisplayID (&displays)[kMaxDisplays], std::uint32_t* count) {
    const CGError error = CGGetActiveDisplayList(kMaxDisplays, displays, count);
    if (error != kCGErrorSuccess) {
        std::fprintf(stderr, "*** cannot get active display list (%d)\n", error);
    }
    return error == kCGErrorSuccess;
}

// The lookup of the current context's records.

/// The verdicts on `format`; all false, with a message, for a format that has none.
qor::TexProbe::TexFormatCaps find_caps(const std::map<unsigned, qor::TexProbe::TexFormatCaps>& caps,
                                       GLenum format, const char* query) {
    const auto found = caps.find(format);
    if (found != caps.end()) return found->second;
    std::fprintf(stderr, "unsupported texture format%s: %#x\n", query, format);
    return {};
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

    /// Are the records of `appID` current, complete, and of this context's renderer?
    bool match(CFStringRef appID) const {
        const CFTypeRef recordedVersion = CFPreferencesCopyAppValue(CFSTR("VERSION"), appID);
        const CFTypeRef vendor = CFPreferencesCopyAppValue(CFSTR("GL_VENDOR"), appID);
        const CFTypeRef version = CFPreferencesCopyAppValue(CFSTR("GL_VERSION"), appID);
        const CFTypeRef renderer = CFPreferencesCopyAppValue(CFSTR("GL_RENDERER"), appID);
        double number = 0.0;
        const bool matches =
            is_current_version(recordedVersion, &number) && is_equal_string(vendor, vendor_) &&
            is_equal_string(version, version_) && is_equal_string(renderer, renderer_);
        release(recordedVersion);
        release(vendor);
        release(version);
        release(renderer);
        return matches;
    }

private:
    /// False without a context string: one that could not be read matches nothing.
    static bool is_equal_string(CFTypeRef record, CFStringRef string) {
        return record && string && CFGetTypeID(record) == CFStringGetTypeID() &&
               CFStringCompare(static_cast<CFStringRef>(record), string, 0) == kCFCompareEqualTo;
    }

    CFStringRef vendor_;
    CFStringRef version_;
    CFStringRef renderer_;
};

/// The identifier of the first renderer of one display whose records match; owned by the caller.
CFStringRef copy_matching_id(CGDirectDisplayID display) {
    const ContextStrings strings;
    const RendererList renderers(CGDisplayIDToOpenGLDisplayMask(display));
    for (GLint index = 0; index < renderers.count(); ++index) {
        GLint rendererID = 0;
        const CGLError error =
            CGLDescribeRenderer(renderers.info(), index, kCGLRPRendererID, &rendererID);
        if (error != kCGLNoError) {
            std::fprintf(stderr, "*** cannot get renderer ID (%d)\n", error);
            continue;
        }
        const CFStringRef appID = create_application_id(rendererID);
        // The tool may just have written these records in its own process.
        CFPreferencesAppSynchronize(appID);
        if (strings.match(appID)) return appID;
        release(appID);
    }
    return nullptr;
}

/// The identifier of the renderer that the current context runs on, owned by the caller; null when
/// no renderer of any active display has usable records. Without a current context there are no
/// strings to match, so the result is null.
CFStringRef copyCurrentRendererID() {
    CGDirectDisplayID displays[kMaxDisplays];
    std::uint32_t count = 0;
    if (!list_displays(displays, &count)) return nullptr;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (const CFStringRef appID = copy_matching_id(displays[i])) return appID;
    }
    return nullptr;
}

/// Runs the tool and returns whether it succeeded; false without a path.
bool run_tool(const char* toolPath) {
    if (!toolPath) return false;
    // Passed to the shell as it is: a path that contains a double quote breaks the quoting.
    const std::string command = std::string("\"") + toolPath + "\"";
    return std::system(command.c_str()) == 0;
}

}  // namespace

namespace qor {

void TexProbe::RunTest() {
    std::printf("%s[%d] testing...\n", text_of(preferences_domain()), getpid());
    CGDirectDisplayID displays[kMaxDisplays];
    std::uint32_t count = 0;
    if (!list_displays(displays, &count)) return;
    std::printf("%s[%d] found %u displays:\n", text_of(preferences_domain()), getpid(), count);
    for (std::uint32_t i = 0; i < count; ++i) {
        const CGOpenGLDisplayMask mask = CGDisplayIDToOpenGLDisplayMask(displays[i]);
        const RendererList renderers(mask);
        for (GLint index = 0; index < renderers.count(); ++index) {
            run_listed_renderer(renderers.info(), index, displays[i], mask);
        }
    }
}

TexProbe::TexProbe() : appID_(nullptr) {}

// Delegates, so that the destructor runs if anything below throws.
TexProbe::TexProbe(const char* toolPath) : TexProbe() {
    appID_ = copyCurrentRendererID();
    if (!appID_) {
        if (!run_tool(toolPath)) {
            std::cerr << "Running texprobe failed" << std::endl;
            std::fputs("*** texprobe() failed\n", stderr);
            return;
        }
        appID_ = copyCurrentRendererID();
        if (!appID_) {
            std::fputs("*** cannot get renderer\n", stderr);
            return;
        }
    }
    const struct {
        GLenum internalFormat;
        CFStringRef name;
    } formats[] = {
        {GL_LUMINANCE8, CFSTR("GL_LUMINANCE8")},
        {GL_LUMINANCE8_ALPHA8, CFSTR("GL_LUMINANCE8_ALPHA8")},
        {GL_RGB8, CFSTR("GL_RGB8")},
        {GL_RGBA8, CFSTR("GL_RGBA8")},
        {GL_LUMINANCE16, CFSTR("GL_LUMINANCE16")},
        {GL_LUMINANCE16_ALPHA16, CFSTR("GL_LUMINANCE16_ALPHA16")},
        {GL_RGB16, CFSTR("GL_RGB16")},
        {GL_RGBA16, CFSTR("GL_RGBA16")},
        {GL_LUMINANCE16F_ARB, CFSTR("GL_LUMINANCE16F_ARB")},
        {GL_LUMINANCE_ALPHA16F_ARB, CFSTR("GL_LUMINANCE_ALPHA16F_ARB")},
        {GL_RGB16F_ARB, CFSTR("GL_RGB16F_ARB")},
        {GL_RGBA16F_ARB, CFSTR("GL_RGBA16F_ARB")},
        {GL_LUMINANCE32F_ARB, CFSTR("GL_LUMINANCE32F_ARB")},
        {GL_LUMINANCE_ALPHA32F_ARB, CFSTR("GL_LUMINANCE_ALPHA32F_ARB")},
        {GL_RGB32F_ARB, CFSTR("GL_RGB32F_ARB")},
        {GL_RGBA32F_ARB, CFSTR("GL_RGBA32F_ARB")},
    };
    for (const auto& format : formats) {
        caps_[format.internalFormat] = GetTextureFormatCaps(appID_, format.name);
    }
}

TexProbe::~TexProbe() {
    release(appID_);
}

TexProbe::TexFormatCaps TexProbe::GetTextureFormatCaps(CFStringRef appID, CFStringRef formatName) {
    const FlagKeys keys(formatName);
    const auto flag = [&](Capability capability) {
        Boolean recorded = 0;  // Not needed: an absent record reads as false.
        return appID && CFPreferencesGetAppBooleanValue(keys[capability], appID, &recorded);
    };
    TexFormatCaps caps = {};
    caps.supported = flag(kSupported);
    caps.renderable = flag(kRenderable);
    caps.upload_set = flag(kUploadSet);
    caps.upload_reset = flag(kUploadReset);
    caps.download_get = flag(kDownloadGet);
    caps.download_read = flag(kDownloadRead);
    return caps;
}

bool TexProbe::IsTextureFormatSupported(GLenum format, bool renderable) const {
    const TexFormatCaps caps = find_caps(caps_, format, "");
    return caps.supported && (!renderable || caps.renderable);
}

bool TexProbe::IsTextureFormatSettable(GLenum format) const {
    return find_caps(caps_, format, " SET").upload_set;
}

bool TexProbe::IsTextureFormatResettable(GLenum format) const {
    return find_caps(caps_, format, " RESET").upload_reset;
}

bool TexProbe::IsTextureFormatGettable(GLenum format) const {
    return find_caps(caps_, format, " GET").download_get;
}

bool TexProbe::IsTextureFormatReadable(GLenum format) const {
    return find_caps(caps_, format, " READ").download_read;
}

}  // namespace qor
