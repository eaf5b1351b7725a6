// The enumerants that the product uses, by their published values.

#include <cstdio>
#include <sstream>

#include "fakes.h"
#include "support/formats.h"

namespace fakes {

namespace {

const std::map<GLenum, std::string>& names() {
    static const std::map<GLenum, std::string> table = [] {
        std::istringstream words(R"(
            0x0007 GL_QUADS  0x0404 GL_FRONT  0x0DE1 GL_TEXTURE_2D
            0x1003 GL_TEXTURE_INTERNAL_FORMAT  0x1400 GL_BYTE  0x1401 GL_UNSIGNED_BYTE
            0x1403 GL_UNSIGNED_SHORT  0x1406 GL_FLOAT  0x140B GL_HALF_FLOAT_ARB  0x1907 GL_RGB
            0x1908 GL_RGBA  0x1909 GL_LUMINANCE  0x190A GL_LUMINANCE_ALPHA  0x1F00 GL_VENDOR
            0x1F01 GL_RENDERER  0x1F02 GL_VERSION  0x1F03 GL_EXTENSIONS  0x2600 GL_NEAREST
            0x2800 GL_TEXTURE_MAG_FILTER  0x2801 GL_TEXTURE_MIN_FILTER  0x80E0 GL_BGR
            0x80E1 GL_BGRA  0x8367 GL_UNSIGNED_INT_8_8_8_8_REV  0x88B8 GL_READ_ONLY
            0x88B9 GL_WRITE_ONLY  0x88E0 GL_STREAM_DRAW  0x88E1 GL_STREAM_READ
            0x88EB GL_PIXEL_PACK_BUFFER  0x88EC GL_PIXEL_UNPACK_BUFFER
            0x8CE0 GL_COLOR_ATTACHMENT0_EXT  0x8D40 GL_FRAMEBUFFER_EXT)");
        std::map<GLenum, std::string> names;
        GLenum value = 0;
        for (std::string name; words >> std::hex >> value >> name;) names[value] = name;
        for (const texprobe::tests::Format& format : texprobe::tests::kFormats) {
            names.emplace(format.internalFormat, format.name);
        }
        return names;
    }();
    return table;
}

}  // namespace

std::string name(GLenum value) {
    const auto found = names().find(value);
    if (found != names().end()) return found->second;
    char text[16];
    std::snprintf(text, sizeof text, "%#x", value);
    return text;
}

GLenum enumerant(const std::string& word) {
    for (const auto& [value, text] : names()) {
        if (text == word) return value;
    }
    return static_cast<GLenum>(std::stoul(word, nullptr, 0));
}

}  // namespace fakes
