// A window with a core-profile context that shows how far the measurement is while it renders, and
// then, on standard output, the verdicts. Nothing waits: the window would go on with its own
// pictures meanwhile.
//
// Usage: texverdicts [TOOL]
// TOOL is the path of texprobe; by default, the one beside this program, the one installed with the
// library, or the first in PATH.

#include <GLFW/glfw3.h>
#include <TexProbeVerdicts.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <string>

namespace {

constexpr int kWidth = 480;
constexpr int kHeight = 24;
constexpr int kNameWidth = 25;
constexpr int kColumnWidth = 9;

GLFWwindow* open_core_window() {
    if (!glfwInit()) return nullptr;
    std::atexit(glfwTerminate);
    glfwWindowHint(GLFW_CONTEXT_VERSION_MAJOR, 3);
    glfwWindowHint(GLFW_CONTEXT_VERSION_MINOR, 3);
    glfwWindowHint(GLFW_OPENGL_PROFILE, GLFW_OPENGL_CORE_PROFILE);
    glfwWindowHint(GLFW_OPENGL_FORWARD_COMPAT, GLFW_TRUE);
    GLFWwindow* window = glfwCreateWindow(kWidth, kHeight, "texverdicts", nullptr, nullptr);
    if (!window) return nullptr;
    glfwMakeContextCurrent(window);
    glfwSwapInterval(1);
    return window;
}

/// A bar across the window, as long as `progress`.
void draw(GLFWwindow* window, double progress) {
    int width = 0;
    int height = 0;
    glfwGetFramebufferSize(window, &width, &height);
    glDisable(GL_SCISSOR_TEST);
    glClearColor(0.1F, 0.1F, 0.1F, 1.0F);
    glClear(GL_COLOR_BUFFER_BIT);
    glEnable(GL_SCISSOR_TEST);
    glScissor(0, 0, static_cast<int>(progress * width), height);
    glClearColor(0.2F, 0.6F, 0.3F, 1.0F);
    glClear(GL_COLOR_BUFFER_BIT);
    glfwSwapBuffers(window);
}

void print_table(const qor::TexProbeVerdicts& verdicts) {
    std::printf("%*s", kNameWidth, "");
    for (const char* column : {"create", "render", "set", "reset", "get", "read"}) {
        std::printf("%*s", kColumnWidth, column);
    }
    for (size_t i = 0; i < texprobe_format_count(); ++i) {
        std::printf("\n%-*s", kNameWidth, texprobe_format_name(i));
        for (int capability = TEXPROBE_SUPPORTED; capability <= TEXPROBE_DOWNLOAD_READ;
             ++capability) {
            const texprobe_answer answer = verdicts.answer(
                texprobe_format_value(i), static_cast<texprobe_capability>(capability));
            const char* text = answer == TEXPROBE_YES ? "yes" : answer == TEXPROBE_NO ? "no" : "?";
            std::printf("%*s", kColumnWidth, text);
        }
    }
    std::printf("\n");
}

/// The tool in this program's folder; empty if there is none, or if this program was started by a
/// bare name.
std::string tool_beside(const std::string& program) {
    const std::size_t slash = program.rfind('/');
    if (slash == std::string::npos) return {};
    const std::string tool = program.substr(0, slash + 1) + "texprobe";
    return access(tool.c_str(), X_OK) == 0 ? tool : std::string();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 2 || (argc == 2 && argv[1][0] == '-')) {
        std::fprintf(stderr, "Usage: %s [TOOL]\n", argv[0]);
        return 1;
    }
    GLFWwindow* window = open_core_window();
    if (!window) {
        std::fprintf(stderr, "texverdicts: no window with a core profile can be had here\n");
        return 1;
    }
    const std::string tool = argc == 2 ? argv[1] : tool_beside(argv[0]);
    texprobe_options options = {};
    options.size = sizeof options;
    // Null: the library looks for it.
    options.tool = tool.empty() ? nullptr : tool.c_str();
    qor::TexProbeVerdicts verdicts(&options);
    while (verdicts.state() == TEXPROBE_MEASURING && !glfwWindowShouldClose(window)) {
        draw(window, verdicts.progress());
        glfwPollEvents();
    }
    if (verdicts.state() != TEXPROBE_READY) {
        std::fprintf(stderr, "texverdicts: %s\n", verdicts.reason());
        return 1;
    }
    std::printf("%s\n\n", reinterpret_cast<const char*>(glGetString(GL_RENDERER)));
    print_table(verdicts);
    return 0;
}
