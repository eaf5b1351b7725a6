#include "record_sets.h"

#include <CoreFoundation/CoreFoundation.h>
#include <OpenGL/gl.h>

#include <filesystem>

#include "records/records.h"
#include "support/formats.h"

namespace texprobe::bench {

namespace {

CFStringRef string_of(const std::string& text) {
    return CFStringCreateWithCString(nullptr, text.c_str(), kCFStringEncodingASCII);
}

void write_string(CFStringRef key, const std::string& text, CFStringRef appID) {
    const CFStringRef value = string_of(text);
    CFPreferencesSetAppValue(key, value, appID);
    release(value);
}

void add_record_set(int rendererID, const Identification& identification) {
    const CFStringRef appID = create_application_id(rendererID);
    write_version(appID);
    for (const tests::Format& format : tests::kFormats) {
        const CFStringRef formatName = string_of(format.name);
        const FlagKeys keys(formatName);
        for (std::size_t i = 0; i < kCapabilityCount; ++i) {
            write_verdict(keys[static_cast<Capability>(i)], true, appID);
        }
        release(formatName);
    }
    write_string(CFSTR("GL_VENDOR"), identification.vendor, appID);
    write_string(CFSTR("GL_VERSION"), identification.version, appID);
    write_string(CFSTR("GL_RENDERER"), identification.renderer, appID);
    CFPreferencesAppSynchronize(appID);
    release(appID);
}

}  // namespace

void add_record_sets(int count, int firstID, const Identification& identification) {
    for (int i = 0; i < count; ++i) add_record_set(firstID + i, identification);
}

void synchronize_one_record() {
    static bool verdict = false;
    const CFStringRef appID = CFSTR("org.texprobe.bench");
    verdict = !verdict;
    write_verdict(CFSTR("GL_RGBA8_SUPPORTED"), verdict, appID);
    CFPreferencesAppSynchronize(appID);
}

std::string folder_of_executable() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

}  // namespace texprobe::bench
