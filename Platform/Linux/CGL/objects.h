// The object behind a CGLPixelFormatObj.

#ifndef TEXPROBE_PLATFORM_CGL_OBJECTS_H
#define TEXPROBE_PLATFORM_CGL_OBJECTS_H

#include <OpenGL/OpenGL.h>

#include "CGL/offscreen.h"

struct _CGLPixelFormatObject {
    texprobe::platform::Offscreen offscreen;
};

#endif
