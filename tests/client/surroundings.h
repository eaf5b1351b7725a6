// What an application has that a library could disturb.

#ifndef TEXPROBE_TESTS_SURROUNDINGS_H
#define TEXPROBE_TESTS_SURROUNDINGS_H

#include <OpenGL/gl.h>

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace texprobe::tests {

/// The drivers and devices that this process has loaded or opened.
std::set<std::string> drivers_and_devices();

/// How often this program's own code has opened, initialized or terminated a display, created a
/// context, or changed what is current. The calls are counted in egl_calls.cpp, and passed on.
int disturbing_egl_calls();

/// Of the current context and its process.
struct Surroundings {
    /// By which GLX and EGL name what is current on this thread.
    std::vector<std::uintptr_t> handles;
    /// All that the context tells of itself: the integers of every name that it knows.
    std::map<GLenum, std::vector<GLint>> values;
    /// In the framebuffer that is bound.
    std::vector<unsigned char> image;
    std::set<std::string> drivers;
    int disturbingCalls;
};

Surroundings surroundings();

/// They are what they were.
void expect_undisturbed(const Surroundings& before);

/// Clears a blue image into a texture, with object names that the tool uses, too, and leaves all of
/// it bound.
void draw();

}  // namespace texprobe::tests

#endif
