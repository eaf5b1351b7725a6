#include "records_of_test.h"

#include <CoreFoundation/CoreFoundation.h>
#include <RecordStore/location.h>

#include <cstdlib>

#include "runs/turn_settings.h"
#include "support/formats.h"

namespace {

std::filesystem::path& records_of_test() {
    static std::filesystem::path directory;
    return directory;
}

/// A constant string, which nobody releases.
CFStringRef string_of(const std::string& text) {
    return __CFStringMakeConstantString(text.c_str());
}

/// Stores `value` and takes ownership of it.
void write(const std::string& application, const char* key, CFTypeRef value) {
    CFPreferencesSetAppValue(string_of(key), value, string_of(application));
    CFPreferencesAppSynchronize(string_of(application));
    CFRelease(value);
}

}  // namespace

namespace texprobe::platform {

std::string records_directory() {
    // Never the user's own: a test that forgot to set the location must fail.
    if (records_of_test().empty()) std::abort();
    return records_of_test();
}

}  // namespace texprobe::platform

// The turn is beside the tool, as the tool sees it.
namespace texprobe {

std::string turn_file() {
    return records_of_test().parent_path() / "measuring.lock";
}

TurnSettings turn_settings() {
    TurnSettings settings;
    settings.file = turn_file();
    settings.leastTestTime = texprobe::tests::least_test_time();
    return settings;
}

}  // namespace texprobe

namespace texprobe::tests {

std::chrono::milliseconds& least_test_time() {
    static std::chrono::milliseconds time = TurnSettings().leastTestTime;
    return time;
}

const ToolFolder& empty_folder(const char* executable) {
    static const ToolFolder folder(executable);
    const std::filesystem::path records = folder.database().parent_path();
    records_of_test() = records;
    least_test_time() = TurnSettings().leastTestTime;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
        if (entry.path() != folder.tool() && entry.path() != records) {
            std::filesystem::remove_all(entry.path());
        }
    }
    if (exists(folder.database())) folder.execute("DELETE FROM records");
    return folder;
}

void write_number(const std::string& application, const char* key, double value) {
    write(application, key, CFNumberCreate(nullptr, kCFNumberDoubleType, &value));
}

void write_string(const std::string& application, const char* key, const char* value) {
    write(application, key, string_of(value));
}

void write_boolean(const std::string& application, const char* key, bool value) {
    write(application, key, value ? kCFBooleanTrue : kCFBooleanFalse);
}

void write_identity(const std::string& application, const char* vendor, const char* version,
                    const char* renderer) {
    write_number(application, "VERSION", 0.21);
    write_string(application, "GL_VENDOR", vendor);
    write_string(application, "GL_VERSION", version);
    write_string(application, "GL_RENDERER", renderer);
}

std::string complete_set(const std::string& except, const std::string& application,
                         const std::string& renderer) {
    const std::string set = "set " + application + " ";
    std::string lines = set + "VERSION number 0.21\n";
    for (const Format& format : kFormats) {
        for (const char* capability : kCapabilities) {
            lines += set + format.name + "_" + capability + " true\n";
        }
    }
    return lines + set + "GL_VENDOR text Vendor\n" + set + "GL_VERSION text 2.1 Version\n" + set +
           "GL_RENDERER text " + renderer + "\n" + except + "sync " + application + "\n";
}

}  // namespace texprobe::tests
