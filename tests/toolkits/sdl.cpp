// Its main() is ours.
#define SDL_MAIN_HANDLED
#include <SDL.h>

#include <stdexcept>

#include "client/application_context.h"

namespace texprobe::tests {

std::unique_ptr<ApplicationContext> open_window(const Wish& wish) {
    SDL_SetMainReady();
    if (SDL_Init(SDL_INIT_VIDEO) != 0) throw std::runtime_error(SDL_GetError());
    const int profile = wish.isES     ? SDL_GL_CONTEXT_PROFILE_ES
                        : wish.isCore ? SDL_GL_CONTEXT_PROFILE_CORE
                                      : SDL_GL_CONTEXT_PROFILE_COMPATIBILITY;
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, profile);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, wish.major);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, wish.minor);
    SDL_Window* window = SDL_CreateWindow("application", 0, 0, 64, 64, SDL_WINDOW_OPENGL);
    if (!window || !SDL_GL_CreateContext(window)) throw std::runtime_error(SDL_GetError());
    return std::make_unique<ApplicationContext>();
}

}  // namespace texprobe::tests
