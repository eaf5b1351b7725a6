// OpenGL's names for the numbers that the tool's test code passes.

#ifndef TEXPROBECTL_GL_NAMES_H
#define TEXPROBECTL_GL_NAMES_H

#include <string>

namespace texprobe::ctl {

/// "GL_TEXTURE_2D", or the number in hexadecimal for one without a name here.
std::string gl_name(unsigned value);

}  // namespace texprobe::ctl

#endif
