#include "records/machine.h"

#include <ApplicationServices/ApplicationServices.h>
#include <OpenGL/OpenGL.h>
#include <OpenGL/gl.h>
#include <fmt/format.h>
#include <sys/sysctl.h>

#include <algorithm>
#include <array>

#include "records/software.h"

namespace texprobe::ctl {

namespace {

// As many as the tool looks at.
constexpr std::uint32_t kMaxDisplays = 32;

std::string read_system_build() {
    std::size_t size = 0;
    if (sysctlbyname("kern.osversion", nullptr, &size, nullptr, 0) != 0 || size == 0) return {};
    std::string build(size, '\0');
    if (sysctlbyname("kern.osversion", build.data(), &size, nullptr, 0) != 0) return {};
    build.resize(build.find('\0') == std::string::npos ? size : build.find('\0'));
    return build;
}

/// The renderers behind one display; none, with an error, when they cannot be asked.
class RendererInfo {
public:
    explicit RendererInfo(CGOpenGLDisplayMask mask)
        : error_(CGLQueryRendererInfo(mask, &info_, &count_)) {
        if (error_ != kCGLNoError) count_ = 0;
    }
    ~RendererInfo() {
        if (error_ == kCGLNoError) CGLDestroyRendererInfo(info_);
    }
    RendererInfo(const RendererInfo&) = delete;
    RendererInfo& operator=(const RendererInfo&) = delete;

    CGLError error() const { return error_; }
    GLint count() const { return count_; }
    CGLError ask(GLint index, CGLRendererProperty property, GLint* value) const {
        return CGLDescribeRenderer(info_, index, property, value);
    }

private:
    CGLRendererInfoObj info_ = nullptr;
    GLint count_ = 0;
    CGLError error_;
};

std::vector<CGDirectDisplayID> list_displays(std::string* trouble) {
    std::array<CGDirectDisplayID, kMaxDisplays> displays;
    std::uint32_t count = 0;
    const CGError error = CGGetActiveDisplayList(kMaxDisplays, displays.data(), &count);
    if (error != kCGErrorSuccess) {
        *trouble = "the displays cannot be listed (error " + std::to_string(error) + ")";
        count = 0;
    }
    return {displays.begin(), displays.begin() + count};
}

void add_renderers(CGDirectDisplayID display, Machine* machine) {
    const RendererInfo info(CGDisplayIDToOpenGLDisplayMask(display));
    if (info.error() != kCGLNoError) {
        machine->trouble =
            "the renderers cannot be listed (error " + std::to_string(info.error()) + ")";
    }
    for (GLint index = 0; index < info.count(); ++index) {
        GLint value = 0;
        if (info.ask(index, kCGLRPRendererID, &value) != kCGLNoError) continue;
        const auto renderer = static_cast<std::uint32_t>(value);
        auto& known = machine->renderers;
        if (std::find(known.begin(), known.end(), renderer) != known.end()) continue;
        known.push_back(renderer);
        const CGLError error = info.ask(index, kCGLRPAccelerated, &value);
        if (error == kCGLNoError && value == 0) machine->software.push_back(renderer);
    }
}

bool has_id(const std::vector<std::uint32_t>& renderers, const std::string& rendererID) {
    return std::any_of(renderers.begin(), renderers.end(),
                       [&](std::uint32_t renderer) { return hexadecimal(renderer) == rendererID; });
}

Opening cannot(const char* call, CGLError error) {
    Opening opening;
    opening.trouble = std::string(call) + ": error " + std::to_string(error);
    return opening;
}

Opening ask_memory(std::uint32_t renderer) {
    Opening opening;
    for (const CGDirectDisplayID display : list_displays(&opening.trouble)) {
        const RendererInfo info(CGDisplayIDToOpenGLDisplayMask(display));
        for (GLint index = 0; index < info.count(); ++index) {
            GLint value = 0;
            if (info.ask(index, kCGLRPRendererID, &value) != kCGLNoError) continue;
            if (static_cast<std::uint32_t>(value) != renderer) continue;
            const CGLError error = info.ask(index, kCGLRPTextureMemory, &value);
            if (error != kCGLNoError) return cannot("CGLDescribeRenderer", error);
            opening.isOpened = true;
            opening.megabytes = value / 1048576;
            return opening;
        }
    }
    opening.trouble = "it is not listed any more";
    return opening;
}

/// A context of one renderer with a pixel buffer, as the tool makes it.
class Context {
public:
    ~Context() {
        if (context_) CGLDestroyContext(context_);
        if (pbuffer_) CGLDestroyPBuffer(pbuffer_);
        if (pixelFormat_) CGLDestroyPixelFormat(pixelFormat_);
    }
    Context() = default;
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    /// The call that failed; null where none did.
    const char* make_current(std::uint32_t renderer, CGLError* error) {
        const CGLPixelFormatAttribute attributes[] = {
            kCGLPFARendererID, static_cast<CGLPixelFormatAttribute>(renderer),
            static_cast<CGLPixelFormatAttribute>(0)};
        GLint screens = 0;
        *error = CGLChoosePixelFormat(attributes, &pixelFormat_, &screens);
        if (*error != kCGLNoError) return "CGLChoosePixelFormat";
        *error = CGLCreateContext(pixelFormat_, nullptr, &context_);
        if (*error != kCGLNoError) return "CGLCreateContext";
        *error = CGLCreatePBuffer(16, 16, GL_TEXTURE_2D, GL_RGBA, 0, &pbuffer_);
        if (*error != kCGLNoError) return "CGLCreatePBuffer";
        *error = CGLSetPBuffer(context_, pbuffer_, 0, 0, 0);
        if (*error != kCGLNoError) return "CGLSetPBuffer";
        *error = CGLSetCurrentContext(context_);
        return *error == kCGLNoError ? nullptr : "CGLSetCurrentContext";
    }

private:
    CGLPixelFormatObj pixelFormat_ = nullptr;
    CGLContextObj context_ = nullptr;
    CGLPBufferObj pbuffer_ = nullptr;
};

std::string text_of(GLenum name) {
    const auto* text = reinterpret_cast<const char*>(glGetString(name));
    return text ? text : "";
}

}  // namespace

bool Machine::lists(const std::string& rendererID) const {
    return has_id(renderers, rendererID);
}

bool Machine::is_software(const std::string& rendererID, const std::string& glRenderer) const {
    return has_id(software, rendererID) || software_named_in(glRenderer);
}

Machine look_at_machine() {
    Machine machine;
    machine.systemBuild = read_system_build();
    const auto displays = list_displays(&machine.trouble);
    machine.displayCount = displays.size();
    for (const CGDirectDisplayID display : displays) add_renderers(display, &machine);
    return machine;
}

Opening open_renderer(std::uint32_t renderer) {
    Opening opening = ask_memory(renderer);
    if (!opening.isOpened) return opening;
    Context context;
    CGLError error = kCGLNoError;
    if (const char* call = context.make_current(renderer, &error)) return cannot(call, error);
    opening.vendor = text_of(GL_VENDOR);
    opening.glVersion = text_of(GL_VERSION);
    opening.renderer = text_of(GL_RENDERER);
    return opening;
}

std::string hexadecimal(std::uint32_t rendererID) {
    return fmt::format("{:x}", rendererID);
}

}  // namespace texprobe::ctl
