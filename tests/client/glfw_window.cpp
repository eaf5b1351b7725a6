#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>

#include <stdexcept>

#include "application_context.h"

namespace texprobe::tests {

namespace {

class GlfwWindow : public ApplicationContext {
public:
    explicit GlfwWindow(const Wish& wish) {
        if (!glfwInit()) fail();
        glfwWindowHint(GLFW_VISIBLE, GLFW_FALSE);
        glfwWindowHint(GLFW_CLIENT_API, wish.isES ? GLFW_OPENGL_ES_API : GLFW_OPENGL_API);
        glfwWindowHint(GLFW_CONTEXT_CREATION_API,
                       wish.isEGL ? GLFW_EGL_CONTEXT_API : GLFW_NATIVE_CONTEXT_API);
        if (wish.major > 0) {
            glfwWindowHint(GLFW_CONTEXT_VERSION_MAJOR, wish.major);
            glfwWindowHint(GLFW_CONTEXT_VERSION_MINOR, wish.minor);
            glfwWindowHint(GLFW_OPENGL_PROFILE, wish.isES     ? GLFW_OPENGL_ANY_PROFILE
                                                : wish.isCore ? GLFW_OPENGL_CORE_PROFILE
                                                              : GLFW_OPENGL_COMPAT_PROFILE);
        }
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

std::unique_ptr<ApplicationContext> open_window(const Wish& wish) {
    return std::make_unique<GlfwWindow>(wish);
}

}  // namespace texprobe::tests
