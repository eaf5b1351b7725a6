#include "surroundings.h"

#include <EGL/egl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

// GLX, declared without X's headers.
extern "C" {
void* glXGetCurrentContext(void);
void* glXGetCurrentDisplay(void);
unsigned long glXGetCurrentDrawable(void);
}

namespace texprobe::tests {

namespace {

constexpr GLsizei kSize = 16;

std::vector<std::uintptr_t> current_handles() {
    const auto handle = [](const void* pointer) {
        return reinterpret_cast<std::uintptr_t>(pointer);
    };
    return {handle(glXGetCurrentContext()),
            handle(glXGetCurrentDisplay()),
            static_cast<std::uintptr_t>(glXGetCurrentDrawable()),
            handle(eglGetCurrentContext()),
            handle(eglGetCurrentDisplay()),
            handle(eglGetCurrentSurface(EGL_DRAW)),
            handle(eglGetCurrentSurface(EGL_READ)),
            static_cast<std::uintptr_t>(eglQueryAPI())};
}

std::map<GLenum, std::vector<GLint>> context_values() {
    // Clocks, and how much memory is free. What is asked for ends before the names by which a
    // driver that has no such device crashes.
    const std::set<GLenum> changing = {0x8E28, 0x9047, 0x9048, 0x9049, 0x904A,
                                       0x904B, 0x87FB, 0x87FC, 0x87FD};
    std::map<GLenum, std::vector<GLint>> values;
    constexpr GLint kUnwritten = 0x5a5a5a5a;
    std::vector<GLint> read(4096);
    for (GLenum name = 0x0B00; name < 0x9590; ++name) {
        if (name == 0x0E00) name = 0x1F00;
        if (name == 0x2000) name = 0x8000;
        if (changing.count(name) == 1) continue;
        std::fill(read.begin(), read.end(), kUnwritten);
        glGetIntegerv(name, read.data());
        if (glGetError() == GL_NO_ERROR) values[name] = read;
    }
    return values;
}

}  // namespace

std::set<std::string> drivers_and_devices() {
    std::set<std::string> result;
    const auto keep = [&result](const std::string& file) {
        for (const char* part : {"/dev/dri", "/dev/nvidia", "_dri.so", "libgallium", "libLLVM"}) {
            if (file.find(part) != std::string::npos) result.insert(file);
        }
    };
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code closedMeanwhile;
        keep(std::filesystem::read_symlink(entry.path(), closedMeanwhile));
    }
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        const std::size_t path = line.find('/');
        if (path != std::string::npos) keep(line.substr(path));
    }
    return result;
}

Surroundings surroundings() {
    std::vector<unsigned char> image(std::size_t{kSize} * kSize * 4);
    glReadPixels(0, 0, kSize, kSize, GL_RGBA, GL_UNSIGNED_BYTE, image.data());
    return {current_handles(), context_values(), image, drivers_and_devices(),
            disturbing_egl_calls()};
}

void expect_undisturbed(const Surroundings& before) {
    const Surroundings now = surroundings();
    EXPECT_EQ(now.handles, before.handles);
    EXPECT_TRUE(now.values == before.values);
    EXPECT_EQ(now.image, before.image);
    EXPECT_EQ(now.drivers, before.drivers);
    EXPECT_EQ(now.disturbingCalls, before.disturbingCalls);
}

void draw() {
    GLuint name = 0;
    glGenTextures(1, &name);
    glBindTexture(GL_TEXTURE_2D, name);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, kSize, kSize, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    // These must be libGL's functions, not any of the library's.
    glGenFramebuffers(1, &name);
    glBindFramebuffer(GL_FRAMEBUFFER, name);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, name, 0);
    glGenBuffers(1, &name);
    glBindBuffer(GL_ARRAY_BUFFER, name);
    glViewport(0, 0, kSize, kSize);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 2);
    glClearColor(0.0F, 0.0F, 1.0F, 1.0F);
    glClear(GL_COLOR_BUFFER_BIT);
    EXPECT_EQ(name, 1u);
}

}  // namespace texprobe::tests
