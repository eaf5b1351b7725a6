#include "opengl/gl_functions.h"

#include "opengl/survey_platform.h"

namespace texprobe::survey {

Gl load_gl() {
    Gl table;
#define TEXPROBE_SURVEY_LOAD(result, name, parameters) \
    table.name = reinterpret_cast<result(*) parameters>(gl_function("gl" #name));
    TEXPROBE_SURVEY_FUNCTIONS(TEXPROBE_SURVEY_LOAD)
#undef TEXPROBE_SURVEY_LOAD
    return table;
}

}  // namespace texprobe::survey
