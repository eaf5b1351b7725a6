#include "golden.h"

#include <stdlib.h>

#include <cstdio>
#include <stdexcept>
#include <utility>

#include "doubles/fake_tool.h"

namespace texprobe::tests {

namespace {

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

std::string score_line(const GoldenTest& test) {
    char text[128];
    std::snprintf(text, sizeof text,
                  "test_check_data score: %g%% (dist: %llu size: 268435456) match: %d\n",
                  100.0 * (1.0 - static_cast<double>(test.distance) / 268435456.0), test.distance,
                  test.verdict());
    return text;
}

}  // namespace

const std::vector<GoldenTest>& golden_tests() {
    static const auto tests = [] {
        std::vector<GoldenTest> all;
        srandom(1);  // The default seed.
        for (const Format& format : kFormats) {
            for (const std::string capability : kCapabilities) {
                GoldenTest test = {format, capability, format.name + ("_" + capability)};
                if (capability.find("LOAD_") != std::string::npos) {
                    test.random = random();
                    test.distance = expected_distance(format, capability, test.random);
                }
                test.calls = expected_calls(format, capability, test.random);
                all.push_back(std::move(test));
            }
        }
        return all;
    }();
    return tests;
}

std::vector<std::string> golden_first_run() {
    std::vector<std::string> lines;
    append(&lines, kListing);
    for (const Format& format : kFormats) append(&lines, kReset, {{"N", format.name}});
    append(&lines, "CFPreferencesSetAppValue(VERSION, 0.20999999999999999, {A})\n");
    append(&lines, "CFPreferencesAppSynchronize({A})\n");
    append(&lines, kSetUp);
    for (const GoldenTest& test : golden_tests()) {
        append(&lines, kBegin, {{"K", test.key}});
        lines.insert(lines.end(), test.calls.begin(), test.calls.end());
        append(&lines, kVerdict, {{"K", test.key}, {"V", test.verdict() ? "true" : "false"}});
    }
    append(&lines, kEnd);
    return lines;
}

unsigned golden_call(const std::string& text) {
    unsigned number = 0;
    for (const std::string& call : golden_first_run()) {
        ++number;
        if (call.find(text) != std::string::npos) return number;
    }
    throw std::runtime_error("no call has " + text);
}

std::vector<std::string> golden_second_run() {
    std::vector<std::string> lines;
    append(&lines, kListing);
    append(&lines, kSetUp);
    for (const GoldenTest& test : golden_tests()) {
        append(&lines, "CFPreferencesGetAppBooleanValue({K}, {A})\n", {{"K", test.key}});
    }
    append(&lines, kEnd);
    return lines;
}

std::string of_run(pid_t pid, const std::string& text) {
    return filled(text, {{"A", kAppID}, {"P", std::to_string(pid)}});
}

std::string golden_out(pid_t pid, int displays, const std::string& renderers) {
    return of_run(pid,
                  "texprobe[{P}] testing...\norg.texprobe.texprobe2[{P}] testing...\n"
                  "org.texprobe.texprobe2[{P}] found " +
                      std::to_string(displays) + " displays:\n" + renderers);
}

std::string golden_pass_text(pid_t pid) {
    static const std::map<std::string, std::string> printed = {
        {"SUPPORTED", "{L} supported"},
        {"RENDERABLE", "{L} renderable"},
        {"UPLOAD_SET", "Testing UPLOAD SET...\n{S}{L} upload SET"},
        {"UPLOAD_RESET", "Testing UPLOAD RESET...\n{S}{L} upload RESET"},
        {"DOWNLOAD_GET", "{S}{L} download GET"},
        {"DOWNLOAD_READ", "{S}{L} download READ"}};
    std::string text;
    for (const GoldenTest& test : golden_tests()) {
        text +=
            filled(printed.at(test.capability),
                   {{"L", of_run(pid, "{A}[{P}] ") + test.format.name}, {"S", score_line(test)}});
        text += test.verdict() ? ": 1\n" : ": 0\n";
    }
    return text;
}

std::map<std::string, std::string> golden_records() {
    std::map<std::string, std::string> records;
    for (const GoldenTest& test : golden_tests()) {
        records[test.key] = test.verdict() ? "true" : "false";
    }
    records["VERSION"] = "0.20999999999999999";
    records["GL_VENDOR"] = "\"Fake Vendor\"";
    records["GL_VERSION"] = "\"2.1 Fake\"";
    records["GL_RENDERER"] = "\"Fake Renderer\"";
    return records;
}

}  // namespace texprobe::tests
