// An OpenGL context without a window, for an application that shows nothing.

#ifndef TEXFORMATS_CONTEXT_H
#define TEXFORMATS_CONTEXT_H

#ifdef __APPLE__
#include <OpenGL/gl.h>
#include <OpenGL/glext.h>
#else
#include <GL/gl.h>
#endif

/// Opens a context and makes it current for the rest of the program: in an invisible window if
/// there is a display, otherwise on the first graphics device that works. False if neither can be
/// had.
bool open_context();

#endif
