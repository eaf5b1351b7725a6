// macOS has GLU's header in the OpenGL framework.

#ifndef TEXPROBE_PLATFORM_GLU_H
#define TEXPROBE_PLATFORM_GLU_H

#include <GL/glu.h>

#endif
