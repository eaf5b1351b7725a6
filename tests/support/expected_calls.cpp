#include "expected_calls.h"

#include "support/text.h"

namespace texprobe::tests {

namespace {

// {I} is the internal format, {F} and {T} are its transfer format and type, {S} is the size of an
// image, {R} the random value.
const std::map<std::string, const char*> kTests = {
    {"SUPPORTED", R"(glBindTexture(GL_TEXTURE_2D, 1)
glTexImage2D(GL_TEXTURE_2D, 0, {I}, 128, 128, 0, GL_LUMINANCE, GL_BYTE, NULL)
glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, 0)
)"},
    {"RENDERABLE", R"(glBindTexture(GL_TEXTURE_2D, 2)
glTexImage2D(GL_TEXTURE_2D, 0, {I}, 128, 128, 0, GL_LUMINANCE, GL_BYTE, NULL)
glCheckFramebufferStatusEXT(GL_FRAMEBUFFER_EXT)
glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, 0)
)"},
    {"UPLOAD_SET", R"(glBindTexture(GL_TEXTURE_2D, 1)
{FILTERS}glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0)
glTexImage2D(GL_TEXTURE_2D, 0, {I}, 128, 128, 0, {F}, {T}, NULL)
{FILL}glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 128, 128, {F}, {T}, offset 0)
glFlush()
{RENDER}{CHECK})"},
    {"UPLOAD_RESET", R"({FILL}glBindTexture(GL_TEXTURE_2D, 1)
{FILTERS}glTexImage2D(GL_TEXTURE_2D, 0, {I}, 128, 128, 0, {F}, {T}, offset 0)
glFlush()
{RENDER}{CHECK})"},
    {"DOWNLOAD_GET", R"({SEND}{RENDER}{PACK}glGetTexImage(GL_TEXTURE_2D, 0, {F}, {T}, offset 0)
{LOOK})"},
    {"DOWNLOAD_READ", R"({SEND}{RENDER}{PACK}glReadPixels(0, 0, 128, 128, {F}, {T}, offset 0)
{LOOK})"}};

const std::map<std::string, std::string> kParts = {
    {"FILTERS", R"(glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST)
glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST)
)"},
    // The pattern, in the buffer that uploads are from.
    {"FILL", R"(glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 1)
glBufferData(GL_PIXEL_UNPACK_BUFFER, {S}, NULL, GL_STREAM_DRAW)
glMapBuffer(GL_PIXEL_UNPACK_BUFFER, GL_WRITE_ONLY)
random() = {R}
glUnmapBuffer(GL_PIXEL_UNPACK_BUFFER)
)"},
    // The pattern, in a texture that downloads are of.
    {"SEND", R"(random() = {R}
glBindTexture(GL_TEXTURE_2D, 1)
{FILTERS}glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0)
glTexImage2D(GL_TEXTURE_2D, 0, {I}, 128, 128, 0, {F}, {T}, memory)
)"},
    // Texture 1 is drawn into texture 2.
    {"RENDER", R"(glBindTexture(GL_TEXTURE_2D, 2)
{FILTERS}glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0)
glTexImage2D(GL_TEXTURE_2D, 0, {TARGET}, NULL)
glEnable(GL_TEXTURE_2D)
glBindTexture(GL_TEXTURE_2D, 1)
glBegin(GL_QUADS)
glTexCoord2f(0, 0)
glVertex2f(-1, -1)
glTexCoord2f(0, 1)
glVertex2f(-1, 1)
glTexCoord2f(1, 1)
glVertex2f(1, 1)
glTexCoord2f(1, 0)
glVertex2f(1, -1)
glEnd()
)"},
    {"CHECK", R"(glFinish()
glBindBuffer(GL_PIXEL_PACK_BUFFER, 0)
glReadPixels(0, 0, 128, 128, GL_RGBA, GL_UNSIGNED_BYTE, memory)
glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 1)
glMapBuffer(GL_PIXEL_UNPACK_BUFFER, GL_READ_ONLY)
glUnmapBuffer(GL_PIXEL_UNPACK_BUFFER)
)"},
    {"PACK", R"(glBindTexture(GL_TEXTURE_2D, 2)
glBindBuffer(GL_PIXEL_PACK_BUFFER, 2)
glBufferData(GL_PIXEL_PACK_BUFFER, {S}, NULL, GL_STREAM_READ)
)"},
    {"LOOK", R"(glMapBuffer(GL_PIXEL_PACK_BUFFER, GL_READ_ONLY)
glUnmapBuffer(GL_PIXEL_PACK_BUFFER)
)"}};

}  // namespace

std::string filled(std::string text, const std::map<std::string, std::string>& values) {
    for (std::size_t at = text.find('{'); at != std::string::npos; at = text.find('{', at)) {
        const std::size_t end = text.find('}', at);
        const auto value = values.find(text.substr(at + 1, end - at - 1));
        if (value == values.end()) {
            ++at;
        } else {
            text.replace(at, end + 1 - at, value->second);
        }
    }
    return text;
}

std::vector<std::string> expected_calls(const Format& format, const std::string& capability,
                                        long random) {
    std::map<std::string, std::string> values = kParts;
    values["I"] = format.name;
    values["F"] = format.formatName;
    values["T"] = format.typeName;
    values["S"] = std::to_string(format.bytesPerPixel * 16384);
    values["R"] = std::to_string(random);
    const bool isUpload = capability.compare(0, 6, "UPLOAD") == 0;
    values["TARGET"] = isUpload ? "GL_RGBA8, 128, 128, 0, GL_RGBA, GL_UNSIGNED_BYTE"
                                : "{I}, 128, 128, 0, {F}, {T}";
    return lines_of(filled(kTests.at(capability), values));
}

}  // namespace texprobe::tests
