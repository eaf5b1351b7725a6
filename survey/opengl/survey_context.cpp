#include "opengl/survey_context.h"

#include <cstdio>
#include <sstream>

namespace texprobe::survey {

namespace {

constexpr int kSurfaceSize = 16;  // Nothing is drawn to it.

CGLError choose_pixel_format(GLint rendererID, Profile profile, CGLPixelFormatObj* pixelFormat) {
    if (profile == Profile::kEs) return choose_es_pixel_format(rendererID, pixelFormat);
    const auto value = [](int number) { return static_cast<CGLPixelFormatAttribute>(number); };
    const CGLPixelFormatAttribute attributes[] = {
        kCGLPFARendererID, value(rendererID), kCGLPFAOpenGLProfile,
        value(profile == Profile::kCore ? kCGLOGLPVersion_3_2_Core : kCGLOGLPVersion_Legacy),
        value(0)};
    GLint count = 0;
    return CGLChoosePixelFormat(attributes, pixelFormat, &count);
}

std::string text_of(const unsigned char* text) {
    return text ? reinterpret_cast<const char*>(text) : "";
}

/// The first number of "4.5 (Core ...", "OpenGL ES 3.2 ...", as 45 and 32.
int version_of(const std::string& text) {
    const std::size_t digit = text.find_first_of("0123456789");
    int major = 0;
    int minor = 0;
    if (digit == std::string::npos) return 0;
    return std::sscanf(text.c_str() + digit, "%d.%d", &major, &minor) == 2 ? major * 10 + minor : 0;
}

std::set<std::string> extensions_of(const Gl& gl, int version) {
    std::set<std::string> extensions;
    if (version < 30) {
        std::istringstream words(text_of(gl.GetString(gl::kExtensions)));
        for (std::string word; words >> word;) extensions.insert(word);
        return extensions;
    }
    int count = 0;
    gl.GetIntegerv(gl::kNumExtensions, &count);
    for (int i = 0; i < count; ++i) {
        extensions.insert(text_of(gl.GetStringi(gl::kExtensions, static_cast<unsigned>(i))));
    }
    return extensions;
}

void set_state(const SurveyContext& context) {
    const Gl& gl = context.gl;
    gl.Disable(gl::kDither);
    gl.PixelStorei(gl::kUnpackAlignment, 1);
    gl.PixelStorei(gl::kPackAlignment, 1);
    if (context.facts.is_desktop(30)) {
        gl.Enable(gl::kFramebufferSrgb);
        // Otherwise negative values of signed normalized formats are read as 0.
        gl.ClampColor(gl::kClampReadColor, 0);
        // Otherwise the compatibility profile clamps drawing to signed normalized formats at
        // 0.
        if (context.facts.profile == Profile::kCompatibility) {
            gl.ClampColor(gl::kClampFragmentColor, 0);
        }
    }
    unsigned array = 0;
    if (context.facts.is_desktop(30) || context.facts.is_es(30)) {
        gl.GenVertexArrays(1, &array);
        gl.BindVertexArray(array);
    }
}

std::string name_of_error(Enum error) {
    static constexpr const char* kNames[] = {"GL_INVALID_ENUM",
                                             "GL_INVALID_VALUE",
                                             "GL_INVALID_OPERATION",
                                             "GL_STACK_OVERFLOW",
                                             "GL_STACK_UNDERFLOW",
                                             "GL_OUT_OF_MEMORY",
                                             "GL_INVALID_FRAMEBUFFER_OPERATION",
                                             "GL_CONTEXT_LOST"};
    return error >= 0x0500 && error <= gl::kContextLost ? kNames[error - 0x0500] : "an error";
}

}  // namespace

SurveyContext describe_current_context(Profile profile) {
    SurveyContext context;
    context.gl = load_gl();
    context.vendor = text_of(context.gl.GetString(gl::kVendor));
    context.renderer = text_of(context.gl.GetString(gl::kRenderer));
    context.version = text_of(context.gl.GetString(gl::kVersion));
    context.facts.profile = profile;
    context.facts.version = version_of(context.version);
    context.facts.extensions = extensions_of(context.gl, context.facts.version);
    set_state(context);
    take_errors(context.gl);
    return context;
}

ProfileContext::ProfileContext(GLint rendererID, Profile profile) {
    if (choose_pixel_format(rendererID, profile, &pixelFormat_) != kCGLNoError || !pixelFormat_) {
        return;
    }
    GLint screen = 0;
    isCurrent_ = CGLCreateContext(pixelFormat_, nullptr, &context_) == kCGLNoError &&
                 CGLGetVirtualScreen(context_, &screen) == kCGLNoError &&
                 CGLCreatePBuffer(kSurfaceSize, kSurfaceSize, gl::kTexture2D, gl::kRgba, 0,
                                  &pbuffer_) == kCGLNoError &&
                 CGLSetPBuffer(context_, pbuffer_, 0, 0, screen) == kCGLNoError &&
                 CGLSetCurrentContext(context_) == kCGLNoError;
}

ProfileContext::~ProfileContext() {
    if (context_) CGLDestroyContext(context_);
    if (pbuffer_) CGLDestroyPBuffer(pbuffer_);
    if (pixelFormat_) CGLDestroyPixelFormat(pixelFormat_);
}

Errors take_errors(const Gl& gl) {
    constexpr int kMost = 16;  // A lost context may report its loss for ever.
    Errors errors;
    for (int i = 0; i < kMost; ++i) {
        const Enum error = gl.GetError();
        if (error == gl::kNoError) break;
        errors.insert(error);
    }
    return errors;
}

std::string names_of(const Errors& errors) {
    std::string names;
    for (const Enum error : errors) names += (names.empty() ? "" : ", ") + name_of_error(error);
    return names;
}

bool is_from_outside(const Errors& errors) {
    return errors.count(gl::kOutOfMemory) != 0 || errors.count(gl::kContextLost) != 0;
}

}  // namespace texprobe::survey
