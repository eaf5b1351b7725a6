#include "opengl/survey_context.h"

#include <dlfcn.h>

namespace texprobe::survey {

CGLError choose_es_pixel_format(GLint /*rendererID*/, CGLPixelFormatObj* pixelFormat) {
    *pixelFormat = nullptr;
    return kCGLBadAttribute;
}

GlFunction gl_function(const char* name) {
    return reinterpret_cast<GlFunction>(dlsym(RTLD_DEFAULT, name));
}

}  // namespace texprobe::survey
