/* In which layout do video frames go into a texture? With SDL 2 and a core profile; an event tells
   when the renderer is measured, so that the window need not wait.
   cc sdl.c -o sdl $(pkg-config --cflags --libs texprobe sdl2 gl) */

#include <SDL.h>
#include <SDL_opengl.h>
#include <TexProbeVerdicts.h>
#include <stdio.h>

/* On a thread of the library; SDL takes events from any. */
static void wake(void* user) {
    SDL_PushEvent(user);
}

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

int main(int argc, char** argv) {
    (void)argc, (void)argv;
    SDL_Event measured = {.type = SDL_USEREVENT}, event;
    SDL_Window* window = NULL;
    int is_known = 0;
    if (SDL_Init(SDL_INIT_VIDEO) == 0) {
        SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_CORE);
        SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, 3);
        SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, 3);
        window = SDL_CreateWindow("frames", 0, 0, 320, 240, SDL_WINDOW_OPENGL);
    }
    SDL_GLContext context = window ? SDL_GL_CreateContext(window) : NULL;
    if (context) {
        texprobe_options options = {.size = sizeof options, .user = &measured, .done = wake};
        texprobe_verdicts* verdicts = texprobe_verdicts_open(&options);
        while (texprobe_verdicts_wait(verdicts, 0) == TEXPROBE_MEASURING && SDL_WaitEvent(&event) &&
               event.type != SDL_QUIT) {
        }
        is_known = print_layout(verdicts);
        texprobe_verdicts_close(verdicts);
        SDL_GL_DeleteContext(context);
    } else {
        fprintf(stderr, "%s\n", SDL_GetError());
    }
    SDL_Quit();
    return is_known ? 0 : 1;
}
