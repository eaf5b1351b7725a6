// What the survey asks of each system in another way. A file of each system's implements it.

#ifndef TEXPROBE_SURVEY_PLATFORM_H
#define TEXPROBE_SURVEY_PLATFORM_H

#include <OpenGL/OpenGL.h>

namespace texprobe::survey {

/// A pixel format for contexts of OpenGL ES 3 on that renderer. kCGLBadAttribute where the system
/// has none.
CGLError choose_es_pixel_format(GLint rendererID, CGLPixelFormatObj* pixelFormat);

using GlFunction = void (*)();

/// A function of OpenGL by its name; null if the system does not know it.
GlFunction gl_function(const char* name);

}  // namespace texprobe::survey

#endif
