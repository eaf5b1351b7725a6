#include "opengl/survey_context.h"

#include <EGL/egl.h>

#include <CGL/es_pixel_format.h>

namespace texprobe::survey {

CGLError choose_es_pixel_format(GLint rendererID, CGLPixelFormatObj* pixelFormat) {
    return platform::choose_es_pixel_format(rendererID, pixelFormat);
}

GlFunction gl_function(const char* name) {
    return eglGetProcAddress(name);
}

}  // namespace texprobe::survey
