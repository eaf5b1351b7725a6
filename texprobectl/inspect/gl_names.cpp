#include "inspect/gl_names.h"

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>
#include <fmt/format.h>

#include "records/cells.h"

namespace texprobe::ctl {

namespace {

struct Named {
    unsigned value;
    const char* name;
};

#define NAMED(name) \
    { name, #name }

constexpr Named kNames[] = {
    NAMED(GL_TEXTURE_2D),
    NAMED(GL_TEXTURE_MIN_FILTER),
    NAMED(GL_TEXTURE_MAG_FILTER),
    NAMED(GL_NEAREST),
    NAMED(GL_PIXEL_UNPACK_BUFFER),
    NAMED(GL_PIXEL_PACK_BUFFER),
    NAMED(GL_STREAM_DRAW),
    NAMED(GL_STREAM_READ),
    NAMED(GL_WRITE_ONLY),
    NAMED(GL_READ_ONLY),
    // Orders and types of client pixels; the orders are internal formats, too.
    NAMED(GL_ALPHA),
    NAMED(GL_LUMINANCE),
    NAMED(GL_LUMINANCE_ALPHA),
    NAMED(GL_INTENSITY),
    NAMED(GL_RGB),
    NAMED(GL_RGBA),
    NAMED(GL_BGR),
    NAMED(GL_BGRA),
    NAMED(GL_BYTE),
    NAMED(GL_UNSIGNED_BYTE),
    NAMED(GL_UNSIGNED_SHORT),
    NAMED(GL_FLOAT),
    NAMED(GL_HALF_FLOAT_ARB),
    NAMED(GL_UNSIGNED_INT_8_8_8_8_REV),
    // Formats that a driver may choose instead of the requested one.
    NAMED(GL_LUMINANCE4),
    NAMED(GL_LUMINANCE12),
    NAMED(GL_LUMINANCE4_ALPHA4),
    NAMED(GL_LUMINANCE12_ALPHA12),
    NAMED(GL_INTENSITY8),
    NAMED(GL_INTENSITY16),
    NAMED(GL_R3_G3_B2),
    NAMED(GL_RGB4),
    NAMED(GL_RGB5),
    NAMED(GL_RGB10),
    NAMED(GL_RGB12),
    NAMED(GL_RGBA2),
    NAMED(GL_RGBA4),
    NAMED(GL_RGB5_A1),
    NAMED(GL_RGB10_A2),
    NAMED(GL_RGBA12),
    // Of a texture and of a framebuffer that are asked for.
    NAMED(GL_TEXTURE_INTERNAL_FORMAT),
    NAMED(GL_FRAMEBUFFER_EXT),
    NAMED(GL_FRAMEBUFFER_COMPLETE_EXT),
    NAMED(GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT_EXT),
    NAMED(GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT_EXT),
    NAMED(GL_FRAMEBUFFER_INCOMPLETE_DIMENSIONS_EXT),
    NAMED(GL_FRAMEBUFFER_INCOMPLETE_FORMATS_EXT),
    NAMED(GL_FRAMEBUFFER_INCOMPLETE_DRAW_BUFFER_EXT),
    NAMED(GL_FRAMEBUFFER_INCOMPLETE_READ_BUFFER_EXT),
    NAMED(GL_FRAMEBUFFER_UNSUPPORTED_EXT),
    // Errors.
    NAMED(GL_INVALID_ENUM),
    NAMED(GL_INVALID_VALUE),
    NAMED(GL_INVALID_OPERATION),
    NAMED(GL_STACK_OVERFLOW),
    NAMED(GL_STACK_UNDERFLOW),
    NAMED(GL_OUT_OF_MEMORY),
    NAMED(GL_INVALID_FRAMEBUFFER_OPERATION_EXT),
};

#undef NAMED

}  // namespace

std::string gl_name(unsigned value) {
    for (const Named& named : kNames) {
        if (named.value == value) return named.name;
    }
    for (const Format& format : kFormats) {
        if (format.internalFormat == value) return format.name;
    }
    return fmt::format("{:#06x}", value);
}

}  // namespace texprobe::ctl
