/* In which layout do video frames go into a texture? With EGL and OpenGL ES 3, without a window.
   cc egl.c -o egl $(pkg-config --cflags --libs texprobe egl glesv2) */

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl3.h>
#include <TexProbeVerdicts.h>
#include <stdio.h>

static int open_context(EGLDisplay display) {
    const EGLint wanted[] = {EGL_SURFACE_TYPE, 0, EGL_RENDERABLE_TYPE, EGL_OPENGL_ES3_BIT,
                             EGL_NONE};
    const EGLint version[] = {EGL_CONTEXT_MAJOR_VERSION, 3, EGL_NONE};
    EGLConfig config = NULL;
    EGLint count = 0;
    return eglInitialize(display, NULL, NULL) && eglBindAPI(EGL_OPENGL_ES_API) &&
           eglChooseConfig(display, wanted, &config, 1, &count) && count == 1 &&
           eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE,
                          eglCreateContext(display, config, EGL_NO_CONTEXT, version));
}

/* How to send frames whose pixels are blue first; 0, and the reason, if there is no way. */
static int print_layout(const texprobe_verdicts* verdicts) {
    unsigned format = 0x80E1 /* GL_BGRA */, type = GL_UNSIGNED_BYTE;
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

int main(void) {
    EGLDisplay display = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, NULL, NULL);
    int is_known = 0;
    if (open_context(display)) {
        texprobe_verdicts* verdicts = texprobe_verdicts_open(NULL);
        texprobe_verdicts_wait(verdicts, -1); /* Seconds, the first time on a driver. */
        is_known = print_layout(verdicts);
        texprobe_verdicts_close(verdicts);
    } else {
        fprintf(stderr, "EGL gives no OpenGL ES 3\n");
    }
    eglReleaseThread();
    eglTerminate(display);
    return is_known ? 0 : 1;
}
