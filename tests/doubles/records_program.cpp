// Reads or writes one renderer's records through the store's own interface, in a separate process:
// it sees what any other process would.
//
//   records_program DIRECTORY APPID                   prints every record of the tool, one per line
//   records_program DIRECTORY APPID KEY               prints one record
//   records_program DIRECTORY APPID KEY TYPE [VALUE]  writes one: boolean, double, string or none

#include <CoreFoundation/CoreFoundation.h>
#include <RecordStore/location.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "support/formats.h"

namespace {

std::string directory;

CFStringRef string(const std::string& text) {
    return CFStringCreateWithCString(nullptr, text.c_str(), kCFStringEncodingASCII);
}

void print(const std::string& key, CFStringRef appID) {
    const CFStringRef keyString = string(key);
    const CFPropertyListRef value = CFPreferencesCopyAppValue(keyString, appID);
    CFRelease(keyString);
    if (!value) return;
    if (value == kCFBooleanTrue || value == kCFBooleanFalse) {
        std::printf("%s %s\n", key.c_str(), value == kCFBooleanTrue ? "true" : "false");
    } else if (CFGetTypeID(value) == CFNumberGetTypeID()) {
        double number = 0.0;
        CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberDoubleType, &number);
        std::printf("%s %.17g\n", key.c_str(), number);
    } else {
        std::printf("%s \"%s\"\n", key.c_str(),
                    CFStringGetCStringPtr(static_cast<CFStringRef>(value), 0));
    }
    CFRelease(value);
}

void print_all(CFStringRef appID) {
    for (const char* key : {"VERSION", "GL_VENDOR", "GL_VERSION", "GL_RENDERER"}) print(key, appID);
    for (const texprobe::tests::Format& format : texprobe::tests::kFormats) {
        for (const char* capability : texprobe::tests::kCapabilities) {
            print(std::string(format.name) + "_" + capability, appID);
        }
    }
}

CFPropertyListRef create_value(const std::string& type, const char* text) {
    if (type == "boolean") return std::strcmp(text, "true") == 0 ? kCFBooleanTrue : kCFBooleanFalse;
    if (type == "string") return string(text);
    if (type == "none") return nullptr;
    const double number = std::strtod(text, nullptr);
    return CFNumberCreate(nullptr, kCFNumberDoubleType, &number);
}

}  // namespace

namespace texprobe::platform {

std::string records_directory() {
    return directory;
}

}  // namespace texprobe::platform

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    directory = argv[1];
    const CFStringRef appID = string(argv[2]);
    if (argc == 3) {
        print_all(appID);
    } else if (argc == 4) {
        print(argv[3], appID);
    } else {
        const CFStringRef key = string(argv[3]);
        const CFPropertyListRef value = create_value(argv[4], argc > 5 ? argv[5] : "");
        CFPreferencesSetAppValue(key, value, appID);
        if (value && std::strcmp(argv[4], "boolean") != 0) CFRelease(value);
        CFRelease(key);
    }
    const bool done = CFPreferencesAppSynchronize(appID);
    CFRelease(appID);
    return done ? 0 : 1;
}
