#include "opengl/gl_functions.h"

namespace texprobe::survey {

namespace {

template <typename Function>
void load(const char* name, Function* function) {
    *function = reinterpret_cast<Function>(gl_function(name));
}

}  // namespace

Gl load_gl() {
    Gl table;
#define TEXPROBE_SURVEY_LOAD(name, signature) load("gl" #name, &table.name);
    TEXPROBE_SURVEY_FUNCTIONS(TEXPROBE_SURVEY_LOAD)
#undef TEXPROBE_SURVEY_LOAD
    return table;
}

}  // namespace texprobe::survey
