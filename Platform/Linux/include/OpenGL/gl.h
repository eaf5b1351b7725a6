// macOS has OpenGL's headers in the OpenGL framework; here they are the vendor-neutral ones.

#ifndef TEXPROBE_PLATFORM_GL_H
#define TEXPROBE_PLATFORM_GL_H

#ifndef GL_GLEXT_PROTOTYPES
#define GL_GLEXT_PROTOTYPES 1
#endif
#include <GL/gl.h>

#endif
