// Splits one first run, one second run or one construction into phases, in one process each. Prints
// a line for each phase: its name, a tab and its seconds. Usage: phases first | phases second |
// phases client. The records are beside this executable; "second" and "client" need those of
// "first".

#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/CoreFoundation.h>
#include <OpenGL/OpenGL.h>

#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "egl_context.h"
#include "interleaved.h"
#include "measuring/distance.h"
#include "measuring/pattern.h"
#include "records/records.h"

namespace texprobe {

namespace {

double patternSeconds = 0.0;
double comparisonSeconds = 0.0;

void timed_fill_data(void* data, std::size_t size, GLenum type) {
    patternSeconds += bench::time_of([=] { test_fill_data(data, size, type); });
}

unsigned long long timed_distance(const void* srcData, unsigned srcFormat, unsigned srcType,
                                  const void* readData, unsigned readFormat, unsigned readType,
                                  unsigned pixelCount) {
    unsigned long long distance = 0;
    comparisonSeconds += bench::time_of([&] {
        distance = distance_data_switch(srcData, srcFormat, srcType, readData, readFormat, readType,
                                        pixelCount);
    });
    return distance;
}

}  // namespace

}  // namespace texprobe

// The probe calls these instead of the real functions.
#define test_fill_data timed_fill_data
#define distance_data_switch timed_distance
#include "measurement.h"
#include "phases.h"

namespace texprobe::bench {

namespace {

void print_phase(const char* name, double seconds) {
    std::printf("%s\t%.9f\n", name, seconds);
}

int first_renderer_id() {
    CGLRendererInfoObj info = nullptr;
    GLint count = 0;
    GLint rendererID = 0;
    CGLQueryRendererInfo(1, &info, &count);
    CGLDescribeRenderer(info, 0, kCGLRPRendererID, &rendererID);
    CGLDestroyRendererInfo(info);
    return rendererID;
}

const EglContext& open_driver(std::optional<EglContext>* context) {
    EGLDeviceEXT device = nullptr;
    print_phase("listing devices", time_of([&] { device = list_devices().front(); }));
    print_phase("driver start-up and context", time_of([&] { context->emplace(device); }));
    return **context;
}

/// Any sixteen format names will do.
const std::vector<CFStringRef>& format_names() {
    static const std::vector<CFStringRef> names = [] {
        std::vector<CFStringRef> made;
        for (int i = 0; i < 16; ++i) {
            made.push_back(CFStringCreateWithFormat(nullptr, nullptr, CFSTR("GL_FORMAT%x"), i));
        }
        return made;
    }();
    return names;
}

/// All record keeping of a first run: the version, then each test's two verdicts with a
/// synchronization between them, then the strings.
void keep_records(CFStringRef appID) {
    write_version(appID);
    CFPreferencesAppSynchronize(appID);
    for (const CFStringRef format : format_names()) {
        const FlagKeys keys(format);
        for (std::size_t i = 0; i < kCapabilityCount; ++i) {
            const CFStringRef key = keys[static_cast<Capability>(i)];
            CFPreferencesGetAppBooleanValue(key, appID, nullptr);
            write_verdict(key, false, appID);
            CFPreferencesAppSynchronize(appID);
            write_verdict(key, true, appID);
        }
    }
    for (const CFStringRef key : {CFSTR("GL_VENDOR"), CFSTR("GL_VERSION"), CFSTR("GL_RENDERER")}) {
        CFPreferencesSetAppValue(key, CFSTR("text"), appID);
    }
    CFPreferencesAppSynchronize(appID);
}

struct Pass {
    double glWork;
    double pattern;
    double comparison;
};

Pass measure_pass() {
    patternSeconds = comparisonSeconds = 0.0;
    const double seconds = time_of([] { measure_all_formats([] {}); });
    return {seconds - patternSeconds - comparisonSeconds, patternSeconds, comparisonSeconds};
}

void take_first_run_apart() {
    std::optional<EglContext> context;
    open_driver(&context);
    set_up_renderer();
    const Pass first = measure_pass();
    const Pass again = measure_pass();
    print_phase("shaders and other first use", first.glWork - again.glWork);
    print_phase("GL work", again.glWork);
    print_phase("pattern", first.pattern);
    print_phase("comparison", first.comparison);
    print_phase(kNotInARun, again.glWork + again.pattern + again.comparison);
    CFStringRef appID = nullptr;
    print_phase("identifier", time_of([&] { appID = create_application_id(first_renderer_id()); }));
    print_phase("records", time_of([&] { keep_records(appID); }));
    print_phase("end of the context", time_of([&] { context.reset(); }));
}

void take_second_run_apart() {
    CFStringRef appID = nullptr;
    int rendererID = 0;
    // The first call of EGL waits until it has loaded its vendors' libraries.
    print_phase("EGL's vendors, listing devices",
                time_of([&] { rendererID = first_renderer_id(); }));
    print_phase("the system's build", time_of([] { get_system_version(); }));
    print_phase("identifier", time_of([&] { appID = create_application_id(rendererID); }));
    print_phase("opening the store", time_of([&] { CFPreferencesAppSynchronize(appID); }));
    std::optional<EglContext> context;
    open_driver(&context);
    print_phase("extensions and render target", time_of([] { set_up_renderer(); }));
    print_phase("rewriting the strings", time_of([&] {
                    CFPreferencesSetAppValue(CFSTR("GL_VENDOR"), CFSTR("text"), appID);
                    CFPreferencesAppSynchronize(appID);
                }));
    print_phase("end of the context", time_of([&] { context.reset(); }));
}

void take_construction_apart() {
    std::optional<EglContext> context;
    context.emplace(list_devices().front());
    print_phase("the system's build", time_of([] { get_system_version(); }));
    print_phase("listing displays", time_of([] {
                    CGDirectDisplayID displays[32];
                    std::uint32_t count = 0;
                    CGGetActiveDisplayList(32, displays, &count);
                }));
    CFStringRef appID = nullptr;
    print_phase("listing renderers",
                time_of([&] { appID = create_application_id(first_renderer_id()); }));
    print_phase("opening the store", time_of([&] { CFPreferencesAppSynchronize(appID); }));
    print_phase("96 flags", time_of([&] {
                    for (const CFStringRef format : format_names()) {
                        const FlagKeys keys(format);
                        for (std::size_t i = 0; i < kCapabilityCount; ++i) {
                            CFPreferencesGetAppBooleanValue(keys[static_cast<Capability>(i)], appID,
                                                            nullptr);
                        }
                    }
                }));
}

}  // namespace

}  // namespace texprobe::bench

int main(int argc, char** argv) {
    const std::string what = argc == 2 ? argv[1] : "";
    if (what == "first") {
        texprobe::bench::take_first_run_apart();
    } else if (what == "second") {
        texprobe::bench::take_second_run_apart();
    } else if (what == "client") {
        texprobe::bench::take_construction_apart();
    } else {
        std::fprintf(stderr, "Usage: %s first|second|client\n", argv[0]);
        return 1;
    }
}
