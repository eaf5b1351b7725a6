/* An application in C: prints the verdicts on GL_RGBA8 for a core-profile context, or why there are
 * none. */

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <TexProbeVerdicts.h>
#include <stdio.h>
#include <string.h>

static int open_context(void) {
    const EGLint wanted[] = {EGL_SURFACE_TYPE, 0, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
    const EGLint core[] = {EGL_CONTEXT_MAJOR_VERSION,
                           3,
                           EGL_CONTEXT_MINOR_VERSION,
                           3,
                           EGL_CONTEXT_OPENGL_PROFILE_MASK,
                           EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                           EGL_NONE};
    EGLDisplay display =
        eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, NULL);
    EGLConfig config = NULL;
    EGLint count = 0;
    return eglInitialize(display, NULL, NULL) && eglBindAPI(EGL_OPENGL_API) &&
           eglChooseConfig(display, wanted, &config, 1, &count) && count == 1 &&
           eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE,
                          eglCreateContext(display, config, EGL_NO_CONTEXT, core));
}

int main(int argc, char** argv) {
    if (argc != 2 || (strcmp(argv[1], "core") == 0 && !open_context())) return 2;
    texprobe_verdicts* verdicts = texprobe_verdicts_open(NULL);
    if (texprobe_verdicts_wait(verdicts, -1) == TEXPROBE_READY) {
        printf("GL_RGBA8:");
        for (int i = 0; i < 6; ++i) {
            printf(" %d", texprobe_verdicts_answer(verdicts, 0x8058, (texprobe_capability)i));
        }
        printf("\n");
    } else {
        printf("%s\n", texprobe_verdicts_reason(verdicts));
    }
    texprobe_verdicts_close(verdicts);
    return 0;
}
