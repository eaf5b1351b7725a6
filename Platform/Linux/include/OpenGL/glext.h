// OpenGL's extensions and post-1.1 functions, with prototypes, as macOS declares them.

#ifndef TEXPROBE_PLATFORM_GLEXT_H
#define TEXPROBE_PLATFORM_GLEXT_H

#include <OpenGL/gl.h>

#include <GL/glext.h>

#endif
