// OpenGL's numbers from the system's header, which the survey does not use.

#ifndef TEXPROBE_TESTS_GL_NUMBERS_H
#define TEXPROBE_TESTS_GL_NUMBERS_H

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

#include <initializer_list>
#include <map>
#include <sstream>
#include <string>

namespace texprobe::tests {

/// `names` with a comma and a blank between them.
inline std::map<std::string, unsigned> numbers_by_name(const std::string& names,
                                                       std::initializer_list<unsigned> values) {
    std::map<std::string, unsigned> numbers;
    std::istringstream words(names);
    for (const unsigned value : values) {
        std::string name;
        words >> name;
        numbers[name.substr(0, name.find(','))] = value;
    }
    return numbers;
}

}  // namespace texprobe::tests

/// The numbers of these constants, by their names.
#define GL_NUMBERS(...) texprobe::tests::numbers_by_name(#__VA_ARGS__, {__VA_ARGS__})

#endif
