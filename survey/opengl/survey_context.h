// A context of one profile on one renderer, current while the object lives.

#ifndef TEXPROBE_SURVEY_CONTEXT_H
#define TEXPROBE_SURVEY_CONTEXT_H

#include <OpenGL/OpenGL.h>

#include <string>

#include "opengl/gl_functions.h"
#include "table/promises.h"
#include "table/survey_verdicts.h"

namespace texprobe::survey {

/// A context with the functions and facts that the uses need.
struct SurveyContext {
    Gl gl;
    ContextFacts facts;
    // As the context says them.
    std::string vendor;
    std::string renderer;
    std::string version;
};

/// Asks the current context. Sets the state that all uses rely on: no dithering, sRGB is encoded,
/// rows without gaps.
SurveyContext describe_current_context(Profile profile);

/// A pixel format for contexts of OpenGL ES 3 on that renderer; kCGLBadAttribute where the system
/// has none. Each system has its own.
CGLError choose_es_pixel_format(GLint rendererID, CGLPixelFormatObj* pixelFormat);

class ProfileContext {
public:
    ProfileContext(GLint rendererID, Profile profile);
    ~ProfileContext();
    ProfileContext(const ProfileContext&) = delete;
    ProfileContext& operator=(const ProfileContext&) = delete;

    /// False if the renderer does not offer the profile.
    bool is_current() const { return isCurrent_; }

private:
    CGLPixelFormatObj pixelFormat_ = nullptr;
    CGLContextObj context_ = nullptr;
    CGLPBufferObj pbuffer_ = nullptr;
    bool isCurrent_ = false;
};

/// The errors since the last call.
Errors take_errors(const Gl& gl);

/// Joined by commas.
std::string names_of(const Errors& errors);

/// Errors that say nothing of the format: the memory is used up, or the context is lost.
bool is_from_outside(const Errors& errors);

}  // namespace texprobe::survey

#endif
