// Its main() is ours.
#define SDL_MAIN_HANDLED
#include <SDL.h>

#include "window.h"

namespace texprobe::tests {

std::string open_window(const Wish& wish) {
    SDL_SetMainReady();
    if (SDL_Init(SDL_INIT_VIDEO) != 0) return SDL_GetError();
    const int profile = wish.isES     ? SDL_GL_CONTEXT_PROFILE_ES
                        : wish.isCore ? SDL_GL_CONTEXT_PROFILE_CORE
                                      : SDL_GL_CONTEXT_PROFILE_COMPATIBILITY;
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, profile);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, wish.major);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, wish.minor);
    SDL_Window* window = SDL_CreateWindow("application", 0, 0, 64, 64, SDL_WINDOW_OPENGL);
    if (!window || !SDL_GL_CreateContext(window)) return SDL_GetError();
    return {};
}

}  // namespace texprobe::tests
