// A driver that dies or hangs in a chosen use of a chosen format, and a disk that is full, linked
// into a build of the survey.
//
// The order is in a file "die" beside the executable:
//   <profile> <number of the format> <use> <signal> [<format and type of the layout>]
// or in the signal's place 0: to hang; -1: somebody interrupts the survey meanwhile; -2: the
// context is lost, and there is no other; -3: to exit. A line is added to a file "deaths" there
// before each death. The order stays: such a driver dies whenever the use is tried.
//
// With a file "two" there the machine has a second renderer, before all others, of which there is
// no context.
//
// A file "full" there has the numbers of the first and the last synchronization, from 1, that find
// the disk full.

#include <CoreFoundation/CoreFoundation.h>
#include <OpenGL/OpenGL.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>

#include "opengl/gl_functions.h"

namespace {

using namespace texprobe::survey;

struct SurveyOrder {
    std::string profile;
    Enum format = 0;
    std::string use;
    int kind = 0;
    Enum layoutFormat = 0;
    Enum layoutType = 0;
};

constexpr int kInterrupted = -1;
constexpr int kContextLost = -2;
constexpr int kExits = -3;

SurveyOrder surveyOrder;
Gl aliveGl;
bool isBlending = false;
bool isContextLost = false;
Enum currentFormat = 0;  // Of the texture that was defined last, unless that is the judge's.
bool isStorage = false;  // That was glTexStorage2D.

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

// What the transfers have set: the buffer that is bound, and whether rows are long.
Enum boundTarget = 0;
bool hasLongRows = false;
bool isTransferring = false;  // They come last.

/// A transfer has come in this layout.
void die_in_layout(const char* use, Enum format, Enum type) {
    if (surveyOrder.layoutFormat == format && surveyOrder.layoutType == type) {
        die_in(use, currentFormat);
    }
}

void die_in_transfers(Gl* table) {
    table->BindBuffer = [](Enum target, unsigned buffer) {
        boundTarget = buffer == 0 ? 0 : target;
        aliveGl.BindBuffer(target, buffer);
    };
    table->PixelStorei = [](Enum name, int value) {
        if (name == gl::kUnpackRowLength || name == gl::kPackRowLength) hasLongRows = value != 0;
        aliveGl.PixelStorei(name, value);
    };
    table->TexSubImage2D = [](Enum target, int level, int x, int y, int width, int height,
                              Enum format, Enum type, const void* pixels) {
        isTransferring = true;
        if (hasLongRows) die_in_layout("upload_part", format, type);
        if (boundTarget == gl::kPixelUnpackBuffer) die_in_layout("upload_buffer", format, type);
        aliveGl.TexSubImage2D(target, level, x, y, width, height, format, type, pixels);
    };
    table->ReadPixels = [](int x, int y, int width, int height, Enum format, Enum type,
                           void* pixels) {
        if (hasLongRows) die_in_layout("read_part", format, type);
        aliveGl.ReadPixels(x, y, width, height, format, type, pixels);
    };
    table->GetTexImage = [](Enum target, int level, Enum format, Enum type, void* pixels) {
        if (boundTarget == 0) die_in_layout("get", format, type);
        aliveGl.GetTexImage(target, level, format, type, pixels);
    };
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
    isStorage = false;
    if (!pixels && width == kSizeOfCreate && height == kSizeOfCreate) die_in("create", number);
    aliveGl.TexImage2D(target, level, internalFormat, width, height, border, format, type, pixels);
}

void define_blocks_or_die(Enum target, int level, Enum format, int width, int height, int border,
                          int size, const void* blocks) {
    currentFormat = format;
    isStorage = false;
    die_in("create", format);
    aliveGl.CompressedTexImage2D(target, level, format, width, height, border, size, blocks);
}

/// Whole images are sent to textures of glTexStorage2D also before parts are.
void send_blocks_or_die(Enum target, int level, int x, int y, int width, int height, Enum format,
                        int size, const void* blocks) {
    constexpr std::uintptr_t kMostOfBuffer = 4096;
    const bool isPlace = reinterpret_cast<std::uintptr_t>(blocks) < kMostOfBuffer;
    if (x != 0) die_in("upload_part", format);
    if (isPlace) die_in("upload_buffer", format);
    if (x == 0 && !isPlace && !isStorage) die_in("upload", format);
    aliveGl.CompressedTexSubImage2D(target, level, x, y, width, height, format, size, blocks);
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
CGLError query_really(GLuint mask, CGLRendererInfoObj* info,
                      GLint* count) __asm__("__real_CGLQueryRendererInfo");
CGLError query_perhaps(GLuint mask, CGLRendererInfoObj* info,
                       GLint* count) __asm__("__wrap_CGLQueryRendererInfo");
CGLError describe_really(CGLRendererInfoObj info, GLint number, CGLRendererProperty property,
                         GLint* value) __asm__("__real_CGLDescribeRenderer");
CGLError describe_perhaps(CGLRendererInfoObj info, GLint number, CGLRendererProperty property,
                          GLint* value) __asm__("__wrap_CGLDescribeRenderer");

CGLError query_perhaps(GLuint mask, CGLRendererInfoObj* info, GLint* count) {
    const CGLError error = query_really(mask, info, count);
    if (error == kCGLNoError && std::filesystem::exists(folder_of_survey() / "two")) ++*count;
    return error;
}

CGLError describe_perhaps(CGLRendererInfoObj info, GLint number, CGLRendererProperty property,
                          GLint* value) {
    const CGLError error = describe_really(info, number, property, value);
    if (error == kCGLNoError) return error;
    *value = property == kCGLRPRendererID ? std::numeric_limits<GLint>::min() : 0;
    return kCGLNoError;
}

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
        surveyOrder.use >> surveyOrder.kind >> surveyOrder.layoutFormat >> surveyOrder.layoutType;
    if (surveyOrder.profile != profile_of_context()) return table;
    die_in_transfers(&table);
    table.GetError = [] { return isContextLost ? gl::kContextLost : aliveGl.GetError(); };
    table.TexImage2D = define_or_die;
    table.CompressedTexImage2D = define_blocks_or_die;
    table.CompressedTexSubImage2D = send_blocks_or_die;
    table.TexStorage2D = [](Enum target, int levels, Enum format, int width, int height) {
        if (surveyOrder.layoutFormat == 0) die_in("create_storage", format);
        // The transfers of one with storage are those of the use that is not tried here.
        currentFormat = 0;
        isStorage = true;
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
        if (!isBlending && !isTransferring) die_in("render", currentFormat);
        return aliveGl.CheckFramebufferStatus(target);
    };
    table.Enable = [](Enum capability) {
        if (capability == gl::kBlend) die_in("blend", currentFormat);
        aliveGl.Enable(capability);
    };
    return table;
}
