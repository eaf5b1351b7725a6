// What an application draws and reads back, with object names that the tool uses, too.

#ifndef TEXPROBE_TESTS_DRAWING_H
#define TEXPROBE_TESTS_DRAWING_H

#include <OpenGL/gl.h>

#include <map>
#include <string>
#include <vector>

namespace texprobe::tests {

/// Creates the application's objects in the current context and binds them.
void set_up_drawing();

/// Draws a textured quad over the right half of a cleared image and returns the image, 4 bytes per
/// pixel.
std::vector<unsigned char> draw();
/// The image that draw() must return.
std::vector<unsigned char> expected_image();

/// A string of the current context, such as GL_RENDERER's.
std::string gl_text(GLenum name);

/// The context state that a library could have changed, by name.
std::map<GLenum, GLint> context_state();

}  // namespace texprobe::tests

#endif
