// OpenGL ES, which CGL has no names for.

#ifndef TEXPROBE_PLATFORM_CGL_ES_PIXEL_FORMAT_H
#define TEXPROBE_PLATFORM_CGL_ES_PIXEL_FORMAT_H

#include <OpenGL/OpenGL.h>

namespace texprobe::platform {

/// As CGLChoosePixelFormat for that renderer, but a context that CGLCreateContext makes of it is
/// one of OpenGL ES 3, of the renderer's highest version.
CGLError choose_es_pixel_format(GLint rendererID, CGLPixelFormatObj* pix);

}  // namespace texprobe::platform

#endif
