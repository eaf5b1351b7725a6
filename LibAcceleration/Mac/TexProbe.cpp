// The class that applications use. The private parts are included, so that all of it is one
// translation unit and nothing but the class has external linkage.

#include "TexProbe.h"

#include <CoreFoundation/CoreFoundation.h>
#include <OpenGL/gl.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>
#include <string>

#include "measuring/driver.h"
#include "records/formats.h"
#include "records/lookup.h"
#include "records/records.h"

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
    texprobe::run_test();
}

TexProbe::TexProbe() : appID_(nullptr) {}

// Delegates, so that the destructor runs if anything below throws.
TexProbe::TexProbe(const char* toolPath) : TexProbe() {
    appID_ = texprobe::copyCurrentRendererID();
    if (!appID_) {
        if (!run_tool(toolPath)) {
            std::cerr << "Running texprobe failed" << std::endl;
            std::fputs("*** texprobe() failed\n", stderr);
            return;
        }
        // A run that is at work now found the records that the tool has left.
        appID_ = texprobe::copyCurrentRendererID(texprobe::SetsInHand::kTaken);
        if (!appID_) {
            std::fputs("*** cannot get renderer\n", stderr);
            return;
        }
    }
    for (const std::size_t i : texprobe::kOrderOfApplications) {
        caps_[texprobe::kFormats[i].internalFormat] =
            GetTextureFormatCaps(appID_, texprobe::format_names()[i]);
    }
}

TexProbe::~TexProbe() {
    texprobe::release(appID_);
}

TexProbe::TexFormatCaps TexProbe::GetTextureFormatCaps(CFStringRef appID, CFStringRef formatName) {
    const texprobe::FlagKeys keys(formatName);
    const auto flag = [&](texprobe::Capability capability) {
        Boolean recorded = 0;  // Not needed: an absent record reads as false.
        return appID && CFPreferencesGetAppBooleanValue(keys[capability], appID, &recorded);
    };
    TexFormatCaps caps = {};
    caps.supported = flag(texprobe::kSupported);
    caps.renderable = flag(texprobe::kRenderable);
    caps.upload_set = flag(texprobe::kUploadSet);
    caps.upload_reset = flag(texprobe::kUploadReset);
    caps.download_get = flag(texprobe::kDownloadGet);
    caps.download_read = flag(texprobe::kDownloadRead);
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
