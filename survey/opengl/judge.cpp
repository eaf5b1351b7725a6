#include "opengl/judge.h"

#include <cstdint>
#include <cstring>

#include "pixels/compressed_blocks.h"

namespace texprobe::survey {

namespace {

constexpr const char* kEsHead =
    "#version 300 es\n"
    "precision highp float;\nprecision highp int;\nprecision highp sampler2D;\n"
    "precision highp isampler2D;\nprecision highp usampler2D;\n";

// One triangle that covers everything, without any vertex data.
constexpr const char* kVertexBody =
    "void main() {\n"
    "  vec2 corner = vec2(gl_VertexID & 1, gl_VertexID >> 1);\n"
    "  gl_Position = vec4(corner * 4.0 - 1.0, 0.0, 1.0);\n"
    "}\n";

constexpr const char* kFetch = "(texelFetch(image, ivec2(gl_FragCoord.xy), level))";

/// Of samplers and vectors.
std::string prefix_of(const Format& format) {
    return format.kind == Kind::kInt ? "i" : format.kind == Kind::kUint ? "u" : "";
}

/// Fetches texels as bits.
std::string look_body(const Format& format) {
    return "uniform " + prefix_of(format) +
           "sampler2D image;\n"
           "uniform int level;\n"
           "out uvec4 color;\n"
           "void main() { color = " +
           (format.is_integer() ? "uvec4" : "floatBitsToUint") + kFetch + "; }\n";
}

/// All the positions are exact in floats, because the width, which is the level here, is a power of
/// two.
constexpr const char* kSampleBody =
    "uniform sampler2D image;\n"
    "uniform int level;\n"
    "out uvec4 color;\n"
    "void main() {\n"
    "  float place = 0.5 + 0.25 * floor(gl_FragCoord.x);\n"
    "  color = floatBitsToUint(textureLod(image, vec2(place / float(level), 0.5), 0.0));\n"
    "}\n";

/// Draws bits as values.
std::string draw_body(const Format& format) {
    const std::string vector = prefix_of(format) + "vec4";
    const std::string value = (format.is_integer() ? vector : "uintBitsToFloat") + kFetch;
    const std::string head = "uniform usampler2D image;\nuniform int level;\n";
    if (format.is_depth()) return head + "void main() { gl_FragDepth = " + value + ".r; }\n";
    return head + "out " + vector + " color;\nvoid main() { color = " + value + "; }\n";
}

std::uint32_t bits_of(double value, const Format& format) {
    if (format.is_integer()) return static_cast<std::uint32_t>(static_cast<std::int64_t>(value));
    const auto number = static_cast<float>(value);
    std::uint32_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    return bits;
}

double value_of(std::uint32_t bits, const Format& format) {
    if (format.kind == Kind::kUint) return bits;
    if (format.kind == Kind::kInt) return static_cast<std::int32_t>(bits);
    float number = 0;
    std::memcpy(&number, &bits, sizeof number);
    return number;
}

unsigned compile(const Gl& gl, Enum type, const std::string& text) {
    const unsigned shader = gl.CreateShader(type);
    const char* source = text.c_str();
    gl.ShaderSource(shader, 1, &source, nullptr);
    gl.CompileShader(shader);
    return shader;
}

}  // namespace

void define_texture(const Gl& gl, const Format& format, int width, int height, const void* pixels) {
    if (format.is_compressed()) {
        const int blocks = blocks_across(format, width) * blocks_across(format, height);
        return gl.CompressedTexImage2D(gl::kTexture2D, 0, format.value, width, height, 0,
                                       blocks * format.block.bytes, pixels);
    }
    define_texture(gl, format, plain_layout(format), width, height, pixels);
}

void define_texture(const Gl& gl, const Format& format, const Layout& layout, int width, int height,
                    const void* pixels) {
    // GL_BGRA8_EXT is for storage only.
    const Enum internalFormat = format.value == kBgra8 ? gl::kBgra : format.value;
    gl.TexImage2D(gl::kTexture2D, 0, static_cast<int>(internalFormat), width, height, 0,
                  layout.format, layout.type, pixels);
}

Judge::Judge(const SurveyContext& context)
    : context_(context), gl_(context.gl), bits_(*find_format("GL_RGBA32UI")) {
    trouble_ = context.facts.is_desktop(33) || context.facts.is_es(30)
                   ? check()
                   : "no judge before OpenGL 3.3 and OpenGL ES 3.0";
}

/// Compiled once; 0 where the context cannot.
unsigned Judge::program(const std::string& body) const {
    const auto known = programs_.find(body);
    if (known != programs_.end()) return known->second;
    const bool isEs = context_.facts.profile == Profile::kEs;
    const std::string head = isEs ? kEsHead : "#version 330\n";
    const unsigned vertex = compile(gl_, gl::kVertexShader, head + kVertexBody);
    const unsigned fragment = compile(gl_, gl::kFragmentShader, head + body);
    const unsigned made = gl_.CreateProgram();
    gl_.AttachShader(made, vertex);
    gl_.AttachShader(made, fragment);
    gl_.LinkProgram(made);
    gl_.DeleteShader(vertex);
    gl_.DeleteShader(fragment);
    int isLinked = 0;
    gl_.GetProgramiv(made, gl::kLinkStatus, &isLinked);
    return programs_[body] = isLinked != 0 ? made : 0;
}

void Judge::run(const std::string& body, const Texture& texture, int level, int width,
                int height) const {
    const unsigned used = program(body);
    gl_.UseProgram(used);
    gl_.Uniform1i(gl_.GetUniformLocation(used, "level"), level);
    texture.bind();
    gl_.Viewport(0, 0, width, height);
    gl_.DrawArrays(gl::kTriangles, 0, 3);
}

TexelImage Judge::judge_with(const std::string& body, const Texture& texture, const Format& format,
                             int level, int width, int height) const {
    const Texture target(gl_);
    define_texture(gl_, bits_, width, height, nullptr);
    const Framebuffer framebuffer(gl_, bits_, target);
    run(body, texture, level, width, height);
    std::vector<std::uint32_t> bits(static_cast<unsigned>(width * height * 4));
    gl_.ReadPixels(0, 0, width, height, gl::kRgbaInteger, gl::kUnsignedInt, bits.data());
    TexelImage image = {width, height, std::vector<Texel>(bits.size() / 4)};
    const std::uint32_t* next = bits.data();
    for (Texel& texel : image.texels) {
        for (double& component : texel) component = value_of(*next++, format);
    }
    return image;
}

TexelImage Judge::look(const Texture& texture, const Format& format, int level, int width,
                       int height) const {
    return judge_with(look_body(format), texture, format, level, width, height);
}

TexelImage Judge::sample_row(const Texture& texture, int width) const {
    static const Format& kFloats = *find_format("GL_RGBA32F");
    return judge_with(kSampleBody, texture, kFloats, width, 4 * (width - 1) + 1, 1);
}

void Judge::draw(const TexelImage& image, const Format& format) const {
    std::vector<std::uint32_t> bits;
    bits.reserve(image.texels.size() * 4);
    for (const Texel& texel : image.texels) {
        for (const double value : texel) bits.push_back(bits_of(value, format));
    }
    const Texture source(gl_);
    define_texture(gl_, bits_, image.width, image.height, bits.data());
    run(draw_body(format), source, 0, image.width, image.height);
}

/// A texture that is cleared must look as it was cleared.
bool Judge::sees_clear(const char* name, const Texel& color) const {
    constexpr int kSize = 4;
    const Format& format = *find_format(name);
    const Texture texture(gl_);
    define_texture(gl_, format, kSize, kSize, nullptr);
    {
        const Framebuffer framebuffer(gl_, format, texture);
        std::uint32_t bits[4];
        float floats[4];
        int ints[4];
        for (std::size_t c = 0; c < 4; ++c) bits[c] = bits_of(color[c], format);
        std::memcpy(floats, bits, sizeof floats);
        std::memcpy(ints, bits, sizeof ints);
        if (format.kind == Kind::kInt) gl_.ClearBufferiv(gl::kColor, 0, ints);
        if (format.kind == Kind::kUint) gl_.ClearBufferuiv(gl::kColor, 0, bits);
        if (format.kind == Kind::kUnorm) gl_.ClearBufferfv(gl::kColor, 0, floats);
    }
    const TexelImage seen = look(texture, format, 0, kSize, kSize);
    return seen.texels == make_image(kSize, kSize, [&](int, int) { return color; }).texels;
}

/// Drawn bits must arrive in the format that holds them as they are.
bool Judge::sees_what_it_draws() const {
    constexpr int kSize = 64;
    const TexelImage image =
        make_image(kSize, kSize, [&](int x, int y) { return pattern(bits_, x, y); });
    const Texture texture(gl_);
    define_texture(gl_, bits_, kSize, kSize, nullptr);
    {
        const Framebuffer framebuffer(gl_, bits_, texture);
        draw(image, bits_);
    }
    return look(texture, bits_, 0, kSize, kSize).texels == image.texels;
}

std::string Judge::check() {
    const bool seesClears = sees_clear("GL_RGBA32UI", {0, 1, 4294967295.0, 0x40490FDB}) &&
                            sees_clear("GL_RGBA32I", {0, -1, 2147483647.0, 5}) &&
                            sees_clear("GL_RGBA8", {0, 1, 1, 0});
    if (!seesClears) return "the judge sees a known clear otherwise";
    if (!sees_what_it_draws()) return "the judge draws other bits than it was given";
    errors_ = take_errors(gl_);
    return errors_.empty() ? "" : "the judge has caused " + names_of(errors_);
}

}  // namespace texprobe::survey
