#include "golden.h"

#include <stdlib.h>

#include <cstdio>
#include <sstream>

#include "doubles/fake_tool.h"

namespace texprobe::tests {

namespace {

bool is_transfer(const std::string& capability) {
    return capability.find("LOAD_") != std::string::npos;
}

const char* const kListing = R"(CGGetActiveDisplayList(32)
CGDisplayIDToOpenGLDisplayMask(1)
CGLQueryRendererInfo(0x1)
CGLDescribeRenderer(info 1, 0, 121)
CGLDescribeRenderer(info 1, 0, 70)
sysctlbyname(kern.osversion, NULL, 0)
sysctlbyname(kern.osversion, memory, 10)
CFPreferencesCopyAppValue(VERSION, {A})
)";

const char* const kSetUp = R"(CGLChoosePixelFormat({70, 132096, 0})
CGLCreateContext(pixel format 1, NULL)
CGLGetVirtualScreen(context 1)
CGLCreatePBuffer(128, 128, GL_TEXTURE_2D, GL_RGBA, 0)
CGLSetPBuffer(context 1, pixel buffer 1, 0, 0, 3)
CGLSetCurrentContext(context 1)
glGetString(GL_EXTENSIONS)
gluCheckExtension(GL_EXT_framebuffer_object)
gluCheckExtension(GL_ARB_pixel_buffer_object)
glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, 1)
glBindTexture(GL_TEXTURE_2D, 2)
glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 128, 128, 0, GL_RGBA, GL_BYTE, NULL)
glFramebufferTexture2DEXT(GL_FRAMEBUFFER_EXT, GL_COLOR_ATTACHMENT0_EXT, GL_TEXTURE_2D, 2, 0)
glDrawBuffer(GL_COLOR_ATTACHMENT0_EXT)
glReadBuffer(GL_COLOR_ATTACHMENT0_EXT)
glViewport(0, 0, 128, 128)
)";

const char* const kEnd = R"(glGetString(GL_VENDOR)
CFPreferencesSetAppValue(GL_VENDOR, "Fake Vendor", {A})
glGetString(GL_VERSION)
CFPreferencesSetAppValue(GL_VERSION, "2.1 Fake", {A})
glGetString(GL_RENDERER)
CFPreferencesSetAppValue(GL_RENDERER, "Fake Renderer", {A})
CFPreferencesAppSynchronize({A})
CGLDestroyContext(context 1)
CGLDestroyPBuffer(pixel buffer 1)
CGLDestroyPixelFormat(pixel format 1)
CGLDestroyRendererInfo(info 1)
)";

const char* const kReset =
    "CFPreferencesSetMultiple(NULL, {{N}_SUPPORTED {N}_RENDERABLE {N}_UPLOAD_SET {N}_UPLOAD_RESET "
    "{N}_DOWNLOAD_GET {N}_DOWNLOAD_READ}, {A}, current user, any host)\n";

/// What a test does to its record, before and after its calls.
const char* const kBegin = R"(CFPreferencesGetAppBooleanValue({K}, {A})
CFPreferencesSetAppValue({K}, false, {A})
CFPreferencesAppSynchronize({A})
)";
const char* const kVerdict = "CFPreferencesSetAppValue({K}, {V}, {A})\n";

void append(std::vector<std::string>* lines, const std::string& text,
            std::map<std::string, std::string> values = {}) {
    values["A"] = kAppID;
    for (const std::string& line : lines_of(filled(text, values))) lines->push_back(line);
}

/// The lines that one test prints.
std::string test_lines(const Format& format, const std::string& capability, bool verdict,
                       const std::string& score, const std::string& prefix) {
    static const std::map<std::string, std::string> labels = {
        {"SUPPORTED", "supported"},       {"RENDERABLE", "renderable"},
        {"UPLOAD_SET", "upload SET"},     {"UPLOAD_RESET", "upload RESET"},
        {"DOWNLOAD_GET", "download GET"}, {"DOWNLOAD_READ", "download READ"}};
    std::string text;
    if (capability == "UPLOAD_SET") text += "Testing UPLOAD SET...\n";
    if (capability == "UPLOAD_RESET") text += "Testing UPLOAD RESET...\n";
    return text + score + prefix + format.name + " " + labels.at(capability) + ": " +
           (verdict ? "1" : "0") + "\n";
}

std::string score_line(unsigned long long distance) {
    char text[128];
    std::snprintf(text, sizeof text,
                  "test_check_data score: %g%% (dist: %llu size: 268435456) match: %d\n",
                  100.0 * (1.0 - static_cast<double>(distance) / 268435456.0), distance,
                  is_match(distance) ? 1 : 0);
    return text;
}

std::map<std::string, std::string> slow_verdicts() {
    std::map<std::string, std::string> verdicts;
    RandomSequence random;
    for (const Format& format : kFormats) {
        for (const std::string capability : kCapabilities) {
            const bool verdict = !is_transfer(capability) ||
                                 is_match(expected_distance(format, capability, random.next()));
            verdicts[std::string(format.name) + "_" + capability] = verdict ? "true" : "false";
        }
    }
    return verdicts;
}

}  // namespace

std::vector<std::string> golden_first_run() {
    std::vector<std::string> lines;
    append(&lines, kListing);
    for (const Format& format : kFormats) append(&lines, kReset, {{"N", format.name}});
    append(&lines, "CFPreferencesSetAppValue(VERSION, 0.20999999999999999, {A})\n");
    append(&lines, "CFPreferencesAppSynchronize({A})\n");
    append(&lines, kSetUp);
    const std::map<std::string, std::string> verdicts = golden_verdicts();
    RandomSequence random;
    for (const Format& format : kFormats) {
        for (const std::string capability : kCapabilities) {
            const std::string key = std::string(format.name) + "_" + capability;
            append(&lines, kBegin, {{"K", key}});
            const long value = is_transfer(capability) ? random.next() : 0;
            for (const std::string& call : expected_calls(format, capability, value)) {
                lines.push_back(call);
            }
            append(&lines, kVerdict, {{"K", key}, {"V", verdicts.at(key)}});
        }
    }
    append(&lines, kEnd);
    return lines;
}

std::vector<std::string> golden_second_run() {
    std::vector<std::string> lines;
    append(&lines, kListing);
    append(&lines, kSetUp);
    for (const Format& format : kFormats) {
        for (const std::string capability : kCapabilities) {
            append(&lines, "CFPreferencesGetAppBooleanValue({N}_{C}, {A})\n",
                   {{"N", format.name}, {"C", capability}});
        }
    }
    append(&lines, kEnd);
    return lines;
}

std::map<std::string, std::string> golden_verdicts() {
    static const std::map<std::string, std::string> verdicts = slow_verdicts();
    return verdicts;
}

bool is_match(unsigned long long distance) {
    return distance <= 2684354;
}

RandomSequence::RandomSequence() {
    srandom(1);  // The default seed.
}

long RandomSequence::next() {
    return random();
}

std::string golden_pass_text(const std::string& application, pid_t pid,
                             const std::map<std::string, unsigned long long>& distances) {
    const std::string prefix = application + "[" + std::to_string(pid) + "] ";
    RandomSequence random;
    std::string text;
    for (const Format& format : kFormats) {
        for (const std::string capability : kCapabilities) {
            if (!is_transfer(capability)) {
                text += test_lines(format, capability, true, "", prefix);
                continue;
            }
            const long value = random.next();
            const auto set = distances.find(std::string(format.name) + "_" + capability);
            const unsigned long long distance =
                set != distances.end() ? set->second : expected_distance(format, capability, value);
            text +=
                test_lines(format, capability, is_match(distance), score_line(distance), prefix);
        }
    }
    return text;
}

std::map<std::string, std::string> golden_records() {
    std::map<std::string, std::string> records = golden_verdicts();
    records["VERSION"] = "0.20999999999999999";
    records["GL_VENDOR"] = "\"Fake Vendor\"";
    records["GL_VERSION"] = "\"2.1 Fake\"";
    records["GL_RENDERER"] = "\"Fake Renderer\"";
    return records;
}

}  // namespace texprobe::tests
