#include <ApplicationServices/ApplicationServices.h>

#include "fakes.h"

extern "C" {

CGError CGGetActiveDisplayList(std::uint32_t most, CGDirectDisplayID* displays,
                               std::uint32_t* count) {
    fakes::call("CGGetActiveDisplayList(%u)", most);
    if (const int error = fakes::failure("CGGetActiveDisplayList")) return error;
    *count = 0;
    for (const fakes::Display& display : fakes::script().displays) {
        if (*count < most) displays[(*count)++] = display.id;
    }
    return kCGErrorSuccess;
}

CGOpenGLDisplayMask CGDisplayIDToOpenGLDisplayMask(CGDirectDisplayID id) {
    fakes::call("CGDisplayIDToOpenGLDisplayMask(%u)", id);
    for (const fakes::Display& display : fakes::script().displays) {
        if (display.id == id) return display.mask;
    }
    return 0;
}

}  // extern "C"
