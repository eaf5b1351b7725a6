// A driver that dies or hangs in a chosen use of a chosen format, and a disk that is full, linked
// into a build of the survey.
//
// The order is in a file "die" beside the executable:
//   <profile> <number of the format> <use> <signal>
// or in the signal's place 0: to hang; -1: somebody interrupts the survey meanwhile; -2: the
// context is lost, and there is no other; -3: to exit. A line is added to a file "deaths" there
// before each death. The order stays: such a driver dies whenever the use is tried.
//
// A file "full" there has the numbers of the first and the last synchronization, from 1, that find
// the disk full.

#include <CoreFoundation/CoreFoundation.h>
#include <OpenGL/OpenGL.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "opengl/gl_functions.h"

namespace {

using namespace texprobe::survey;

struct SurveyOrder {
    std::string profile;
    Enum format = 0;
    std::string use;
    int kind = 0;
};

constexpr int kInterrupted = -1;
constexpr int kContextLost = -2;
constexpr int kExits = -3;

SurveyOrder surveyOrder;
Gl aliveGl;
bool isBlending = false;
bool isContextLost = false;
Enum currentFormat = 0;  // Of the texture that was defined last, unless that is the judge's.

std::filesystem::path folder_of_survey() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

/// A signal of this process itself would be the driver's.
void interrupt_from_outside() {
    const pid_t child = fork();
    if (child == 0) {
        kill(getppid(), SIGTERM);
        _exit(0);
    }
    waitpid(child, nullptr, 0);
}

/// The driver has come to what only that use calls.
void die_in(const char* use, Enum format) {
    if (surveyOrder.use != use || surveyOrder.format != format) return;
    std::ofstream(folder_of_survey() / "deaths", std::ios::app) << use << '\n';
    switch (surveyOrder.kind) {
        case kInterrupted:
            return interrupt_from_outside();
        case kContextLost:
            isContextLost = true;
            return;
        case kExits:
            exit(3);
        case 0:
            for (;;) pause();
        default:
            // Sanitizers make an exit of some.
            signal(surveyOrder.kind, SIG_DFL);
            raise(surveyOrder.kind);
    }
}

std::string profile_of_context() {
    const auto* text = reinterpret_cast<const char*>(aliveGl.GetString(gl::kVersion));
    if (std::strstr(text, "OpenGL ES")) return "es";
    return std::strstr(text, "Core") ? "core" : "compatibility";
}

void define_or_die(Enum target, int level, int internalFormat, int width, int height, int border,
                   Enum format, Enum type, const void* pixels) {
    const auto number = static_cast<Enum>(internalFormat);
    constexpr int kSizeOfCreate = 128;
    if (number != gl::kRgba32ui) currentFormat = number;
    if (!pixels && width == kSizeOfCreate && height == kSizeOfCreate) die_in("create", number);
    aliveGl.TexImage2D(target, level, internalFormat, width, height, border, format, type, pixels);
}

}  // namespace

// texprobe::survey::load_gl itself, and what the program calls in its place.
Gl load_alive() __asm__("__real__ZN8texprobe6survey7load_glEv");
Gl load_dying() __asm__("__wrap__ZN8texprobe6survey7load_glEv");

// CoreFoundation's and CGL's own.
Boolean synchronize_really(CFStringRef application) __asm__("__real_CFPreferencesAppSynchronize");
Boolean synchronize_perhaps(CFStringRef application) __asm__("__wrap_CFPreferencesAppSynchronize");
CGLError make_current_really(CGLContextObj context) __asm__("__real_CGLSetCurrentContext");
CGLError make_current_perhaps(CGLContextObj context) __asm__("__wrap_CGLSetCurrentContext");

Boolean synchronize_perhaps(CFStringRef application) {
    static int number = 0;
    int first = 0;
    int last = 0;
    std::ifstream(folder_of_survey() / "full") >> first >> last;
    const bool isFull = ++number >= first && number <= last;
    return isFull ? Boolean{0} : synchronize_really(application);
}

CGLError make_current_perhaps(CGLContextObj context) {
    return isContextLost ? kCGLBadContext : make_current_really(context);
}

Gl load_dying() {
    aliveGl = load_alive();
    Gl table = aliveGl;
    std::ifstream(folder_of_survey() / "die") >> surveyOrder.profile >> surveyOrder.format >>
        surveyOrder.use >> surveyOrder.kind;
    if (surveyOrder.profile != profile_of_context()) return table;
    table.GetError = [] { return isContextLost ? gl::kContextLost : aliveGl.GetError(); };
    table.TexImage2D = define_or_die;
    table.TexStorage2D = [](Enum target, int levels, Enum format, int width, int height) {
        die_in("create_storage", format);
        aliveGl.TexStorage2D(target, levels, format, width, height);
    };
    table.TexParameteri = [](Enum target, Enum name, int value) {
        if (value == gl::kLinear) die_in("filter", currentFormat);
        aliveGl.TexParameteri(target, name, value);
    };
    table.GenerateMipmap = [](Enum target) {
        die_in("mipmap", currentFormat);
        aliveGl.GenerateMipmap(target);
    };
    table.BlendFunc = [](Enum source, Enum destination) {
        isBlending = true;
        aliveGl.BlendFunc(source, destination);
    };
    table.CheckFramebufferStatus = [](Enum target) {
        if (!isBlending) die_in("render", currentFormat);
        return aliveGl.CheckFramebufferStatus(target);
    };
    table.Enable = [](Enum capability) {
        if (capability == gl::kBlend) die_in("blend", currentFormat);
        aliveGl.Enable(capability);
    };
    return table;
}
