#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>

#include "window.h"

namespace texprobe::tests {

namespace {

std::string reason() {
    const char* text = nullptr;
    glfwGetError(&text);
    return text ? text : "GLFW failed";
}

}  // namespace

std::string open_window(const Wish& wish) {
    if (!glfwInit()) return reason();
    glfwWindowHint(GLFW_VISIBLE, GLFW_FALSE);
    glfwWindowHint(GLFW_CLIENT_API, wish.isES ? GLFW_OPENGL_ES_API : GLFW_OPENGL_API);
    glfwWindowHint(GLFW_CONTEXT_CREATION_API,
                   wish.isEGL ? GLFW_EGL_CONTEXT_API : GLFW_NATIVE_CONTEXT_API);
    glfwWindowHint(GLFW_CONTEXT_VERSION_MAJOR, wish.major);
    glfwWindowHint(GLFW_CONTEXT_VERSION_MINOR, wish.minor);
    if (!wish.isES) {
        glfwWindowHint(GLFW_OPENGL_PROFILE,
                       wish.isCore ? GLFW_OPENGL_CORE_PROFILE : GLFW_OPENGL_COMPAT_PROFILE);
    }
    GLFWwindow* window = glfwCreateWindow(64, 64, "application", nullptr, nullptr);
    if (!window) return reason();
    glfwMakeContextCurrent(window);
    return {};
}

}  // namespace texprobe::tests
