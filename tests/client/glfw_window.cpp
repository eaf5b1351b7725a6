#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>

#include <stdexcept>

#include "application_context.h"

namespace texprobe::tests {

namespace {

class GlfwWindow : public ApplicationContext {
public:
    explicit GlfwWindow(int contextApi) {
        if (!glfwInit()) fail();
        glfwWindowHint(GLFW_VISIBLE, GLFW_FALSE);
        glfwWindowHint(GLFW_CONTEXT_CREATION_API, contextApi);
        GLFWwindow* window = glfwCreateWindow(64, 64, "application", nullptr, nullptr);
        if (!window) fail();
        glfwMakeContextCurrent(window);
    }
    ~GlfwWindow() override { glfwTerminate(); }
    GlfwWindow(const GlfwWindow&) = delete;
    GlfwWindow& operator=(const GlfwWindow&) = delete;

private:
    [[noreturn]] static void fail() {
        const char* reason = nullptr;
        glfwGetError(&reason);
        throw std::runtime_error(reason ? reason : "GLFW failed");
    }
};

}  // namespace

bool has_glfw() {
    return true;
}

std::unique_ptr<ApplicationContext> open_glx_window() {
    return std::make_unique<GlfwWindow>(GLFW_NATIVE_CONTEXT_API);
}

std::unique_ptr<ApplicationContext> open_egl_window() {
    return std::make_unique<GlfwWindow>(GLFW_EGL_CONTEXT_API);
}

}  // namespace texprobe::tests
