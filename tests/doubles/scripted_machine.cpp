#include "scripted_machine.h"

#include <ApplicationServices/ApplicationServices.h>
#include <OpenGL/OpenGL.h>
#include <OpenGL/gl.h>
#include <sys/sysctl.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

using texprobe::tests::machine;
using texprobe::tests::ScriptedDisplay;

namespace texprobe::tests {

ScriptedMachine& machine() {
    static ScriptedMachine instance;
    return instance;
}

}  // namespace texprobe::tests

namespace {

void log(const char* call, unsigned argument) {
    char text[64];
    std::snprintf(text, sizeof text, "%s %#x", call, argument);
    machine().calls.emplace_back(text);
}

/// The part of CGL that only the tool uses: in an application it would disturb the current context.
CGLError disturb(const char* call) {
    log(call, 0);
    return kCGLBadContext;
}

const ScriptedDisplay& display_of(CGLRendererInfoObj info) {
    return *reinterpret_cast<const ScriptedDisplay*>(info);
}

}  // namespace

extern "C" {

CGError CGGetActiveDisplayList(std::uint32_t maxDisplays, CGDirectDisplayID* activeDisplays,
                               std::uint32_t* displayCount) {
    log("CGGetActiveDisplayList", maxDisplays);
    if (machine().displayListError) return machine().displayListError;
    *displayCount = 0;
    for (const ScriptedDisplay& display : machine().displays) {
        if (*displayCount < maxDisplays) activeDisplays[(*displayCount)++] = display.id;
    }
    return kCGErrorSuccess;
}

CGOpenGLDisplayMask CGDisplayIDToOpenGLDisplayMask(CGDirectDisplayID display) {
    return display * 0x100;
}

CGLError CGLQueryRendererInfo(GLuint displayMask, CGLRendererInfoObj* rend, GLint* nrend) {
    log("CGLQueryRendererInfo", displayMask);
    for (ScriptedDisplay& display : machine().displays) {
        if (display.id * 0x100 != displayMask) continue;
        if (display.error) return static_cast<CGLError>(display.error);
        *rend = reinterpret_cast<CGLRendererInfoObj>(&display);
        *nrend = display.count.value_or(static_cast<int>(display.renderers.size()));
        return kCGLNoError;
    }
    return kCGLBadDisplay;
}

CGLError CGLDescribeRenderer(CGLRendererInfoObj rend, GLint rendNum, CGLRendererProperty prop,
                             GLint* value) {
    log("CGLDescribeRenderer", static_cast<unsigned>(rendNum));
    if (prop != kCGLRPRendererID) return kCGLBadProperty;
    const auto& renderer = display_of(rend).renderers.at(static_cast<std::size_t>(rendNum));
    if (renderer.error) return static_cast<CGLError>(renderer.error);
    *value = renderer.id;
    return kCGLNoError;
}

CGLError CGLDestroyRendererInfo(CGLRendererInfoObj rend) {
    log("CGLDestroyRendererInfo", display_of(rend).id);
    return kCGLNoError;
}

int sysctlbyname(const char* /*name*/, void* oldp, std::size_t* oldlenp, void* /*newp*/,
                 std::size_t /*newlen*/) {
    constexpr char kBuild[] = "22G120";
    if (oldp) std::memcpy(oldp, kBuild, std::min(sizeof kBuild, *oldlenp));
    *oldlenp = sizeof kBuild;
    return 0;
}

const GLubyte* glGetString(GLenum name) {
    log("glGetString", name);
    const char* text = name == GL_VENDOR     ? machine().vendor
                       : name == GL_VERSION  ? machine().version
                       : name == GL_RENDERER ? machine().renderer
                                             : nullptr;
    if (name == GL_EXTENSIONS) {
        static std::string extensions;
        extensions.clear();
        for (const std::string& extension : machine().extensions) extensions += extension + ' ';
        text = extensions.c_str();
    }
    return reinterpret_cast<const GLubyte*>(text);
}

void glGetIntegerv(GLenum pname, GLint* data) {
    log("glGetIntegerv", pname);
    constexpr GLenum kContextProfileMask = 0x9126;
    if (pname == kContextProfileMask) *data = machine().profile;
    if (pname == GL_NUM_EXTENSIONS) *data = static_cast<GLint>(machine().extensions.size());
}

const GLubyte* glGetStringi(GLenum name, GLuint index) {
    log("glGetStringi", name);
    return reinterpret_cast<const GLubyte*>(machine().extensions.at(index).c_str());
}

CGLError CGLChoosePixelFormat(const CGLPixelFormatAttribute*, CGLPixelFormatObj*, GLint*) {
    return disturb("CGLChoosePixelFormat");
}
CGLError CGLDestroyPixelFormat(CGLPixelFormatObj) {
    return disturb("CGLDestroyPixelFormat");
}
CGLError CGLCreateContext(CGLPixelFormatObj, CGLContextObj, CGLContextObj*) {
    return disturb("CGLCreateContext");
}
CGLError CGLDestroyContext(CGLContextObj) {
    return disturb("CGLDestroyContext");
}
CGLError CGLSetCurrentContext(CGLContextObj) {
    return disturb("CGLSetCurrentContext");
}
CGLError CGLGetVirtualScreen(CGLContextObj, GLint*) {
    return disturb("CGLGetVirtualScreen");
}
CGLError CGLCreatePBuffer(GLsizei, GLsizei, GLenum, GLenum, GLint, CGLPBufferObj*) {
    return disturb("CGLCreatePBuffer");
}
CGLError CGLDestroyPBuffer(CGLPBufferObj) {
    return disturb("CGLDestroyPBuffer");
}
CGLError CGLSetPBuffer(CGLContextObj, CGLPBufferObj, GLenum, GLint, GLint) {
    return disturb("CGLSetPBuffer");
}

}  // extern "C"
