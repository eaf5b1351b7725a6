// A context of one profile on one renderer, current while the object lives.

#ifndef TEXPROBE_SURVEY_CONTEXT_H
#define TEXPROBE_SURVEY_CONTEXT_H

#include <OpenGL/OpenGL.h>

#include <string>

#include "opengl/gl_functions.h"
#include "table/promises.h"

namespace texprobe::survey {

/// What the uses work with.
struct Context {
    Gl gl;
    ContextFacts facts;
    std::string version;  ///< As the context says it.
};

/// Asks the current context. Sets the state that all uses rely on: no dithering, sRGB is encoded,
/// rows without gaps.
Context describe_current_context(Profile profile);

class OffscreenContext {
public:
    OffscreenContext(GLint rendererID, Profile profile);
    ~OffscreenContext();
    OffscreenContext(const OffscreenContext&) = delete;
    OffscreenContext& operator=(const OffscreenContext&) = delete;

    /// False if the renderer does not offer the profile.
    bool is_current() const { return isCurrent_; }

private:
    CGLPixelFormatObj pixelFormat_ = nullptr;
    CGLContextObj context_ = nullptr;
    CGLPBufferObj pbuffer_ = nullptr;
    bool isCurrent_ = false;
};

/// The names of the errors since the last call, joined by commas; empty for none.
std::string take_errors(const Gl& gl);

/// An error that says nothing of the format: the memory is used up, or the context is lost.
bool is_from_outside(const std::string& errors);

}  // namespace texprobe::survey

#endif
