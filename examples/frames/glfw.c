/* In which layout do video frames go into a texture? With GLFW and a compatibility profile, drawing
   while the renderer is measured.
   cc glfw.c -o glfw $(pkg-config --cflags --libs texprobe glfw3 gl) */

#include <GLFW/glfw3.h>
#include <TexProbeVerdicts.h>
#include <stdio.h>

/* How to send frames whose pixels are blue first; 0, and the reason, if there is no way. */
static int print_layout(const texprobe_verdicts* verdicts) {
    unsigned format = GL_BGRA, type = GL_UNSIGNED_BYTE;
    size_t known = 0;
    for (size_t i = 0; i < 6 * texprobe_format_count(); ++i) {
        known += texprobe_verdicts_answer(verdicts, texprobe_format_value(i / 6),
                                          (texprobe_capability)(i % 6)) != TEXPROBE_UNKNOWN;
    }
    if (texprobe_verdicts_use(verdicts, GL_RGBA8, format, type, TEXPROBE_UPLOAD_BUFFER) !=
            TEXPROBE_YES &&
        !texprobe_verdicts_upload_layout(verdicts, GL_RGBA8, &format, &type)) {
        fprintf(stderr, "no layout is known. %s\n", texprobe_verdicts_reason(verdicts));
        return 0;
    }
    printf("%s: GL_RGBA8 takes 0x%04X, 0x%04X; %zu of %zu answers are known\n",
           (const char*)glGetString(GL_VERSION), format, type, known, 6 * texprobe_format_count());
    return 1;
}

static void draw(GLFWwindow* window, double progress) {
    glClearColor(0, (float)progress, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    glfwSwapBuffers(window);
    glfwWaitEventsTimeout(0.02);
}

int main(void) {
    int is_known = 0;
    GLFWwindow* window = glfwInit() ? glfwCreateWindow(320, 240, "frames", NULL, NULL) : NULL;
    if (window) {
        glfwMakeContextCurrent(window);
        /* Layouts are known by the survey, which such a context does not need otherwise. */
        texprobe_options options = {.size = sizeof options, .measure = TEXPROBE_MEASURE_ALL};
        texprobe_verdicts* verdicts = texprobe_verdicts_open(&options);
        while (texprobe_verdicts_wait(verdicts, 0) == TEXPROBE_MEASURING &&
               !glfwWindowShouldClose(window)) {
            draw(window, texprobe_verdicts_progress(verdicts));
        }
        is_known = print_layout(verdicts);
        texprobe_verdicts_close(verdicts);
    } else {
        const char* reason = NULL;
        glfwGetError(&reason);
        fprintf(stderr, "%s\n", reason);
    }
    glfwTerminate();
    return is_known ? 0 : 1;
}
