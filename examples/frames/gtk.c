/* In which layout do video frames go into a texture? With GTK 4, whose main loop goes on while the
   renderer is measured.
   cc gtk.c -o gtk $(pkg-config --cflags --libs texprobe gtk4 epoxy) */

#include <TexProbeVerdicts.h>
#include <epoxy/gl.h>
#include <gtk/gtk.h>
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

/* On a thread of the library. */
static void wake(void* user) {
    g_main_context_wakeup(user);
}

int main(void) {
    int is_known = 0;
    GError* error = NULL;
    GdkGLContext* context =
        gtk_init_check() ? gdk_display_create_gl_context(gdk_display_get_default(), &error) : NULL;
    if (context && gdk_gl_context_realize(context, &error)) {
        gdk_gl_context_make_current(context);
        texprobe_options options = {.size = sizeof options, .done = wake};
        texprobe_verdicts* verdicts = texprobe_verdicts_open(&options);
        while (texprobe_verdicts_wait(verdicts, 0) == TEXPROBE_MEASURING) {
            g_main_context_iteration(NULL, TRUE);
        }
        is_known = print_layout(verdicts);
        texprobe_verdicts_close(verdicts);
    } else {
        fprintf(stderr, "%s\n", error ? error->message : "GTK has no display");
    }
    g_clear_error(&error);
    g_clear_object(&context);
    return is_known ? 0 : 1;
}
