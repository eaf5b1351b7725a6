#include <OpenGL/glu.h>

#include <sstream>

#include "fakes.h"

extern "C" GLboolean gluCheckExtension(const GLubyte* name, const GLubyte* extensions) {
    const std::string wanted = reinterpret_cast<const char*>(name);
    fakes::call("gluCheckExtension(%s)", wanted.c_str());
    std::istringstream words(reinterpret_cast<const char*>(extensions));
    for (std::string word; words >> word;) {
        if (word == wanted) return GL_TRUE;
    }
    return GL_FALSE;
}
