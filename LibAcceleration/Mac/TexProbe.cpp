// The class that applications use. The private parts are included, so that all of it is one
// translation unit and nothing but the class has external linkage.

#include "TexProbe.h"

#include <CoreFoundation/CoreFoundation.h>
#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>
#include <string>

#include "TexProbe/driver.h"
#include "TexProbe/lookup.h"
#include "TexProbe/records.h"

namespace {

/// The verdicts on `format`; all false, with a message, for a format that has none.
qor::TexProbe::TexFormatCaps find_caps(const std::map<unsigned, qor::TexProbe::TexFormatCaps>& caps,
                                       GLenum format, const char* query) {
    const auto found = caps.find(format);
    if (found != caps.end()) return found->second;
    std::fprintf(stderr, "unsupported texture format%s: %#x\n", query, format);
    return {};
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
    run_test();
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
