#include "opengl/judge.h"

#include <cstdint>
#include <cstring>

namespace texprobe::survey {

namespace {

constexpr const char* kPrecision =
    "precision highp float;\nprecision highp int;\nprecision highp sampler2D;\n"
    "precision highp isampler2D;\nprecision highp usampler2D;\n";

// One triangle that covers everything, without any vertex data.
constexpr const char* kVertexBody =
    "void main() {\n"
    "  vec2 corner = vec2(gl_VertexID & 1, gl_VertexID >> 1);\n"
    "  gl_Position = vec4(corner * 4.0 - 1.0, 0.0, 1.0);\n"
    "}\n";

constexpr const char* kPrefixes[] = {"", "i", "u"};  // Of samplers and vectors, by Numbers.

std::string prefix_of(Numbers numbers) {
    return kPrefixes[static_cast<std::size_t>(numbers)];
}

/// Fetches texels as bits.
std::string look_body(Numbers numbers) {
    const std::string convert = numbers == Numbers::kFloat ? "floatBitsToUint" : "uvec4";
    return "uniform " + prefix_of(numbers) +
           "sampler2D image;\n"
           "uniform int level;\n"
           "out uvec4 color;\n"
           "void main() { color = " +
           convert + "(texelFetch(image, ivec2(gl_FragCoord.xy), level)); }\n";
}

/// All the positions are exact in floats, because the width is a power of two.
constexpr const char* kSampleBody =
    "uniform sampler2D image;\n"
    "uniform int level;\n"
    "out uvec4 color;\n"
    "void main() {\n"
    "  float place = 0.5 + 0.25 * floor(gl_FragCoord.x);\n"
    "  color = floatBitsToUint(textureLod(image, vec2(place / float(level), 0.5), 0.0));\n"
    "}\n";

/// Draws bits as values.
std::string draw_body(Numbers numbers, bool isDepth) {
    const std::string fetch = "texelFetch(image, ivec2(gl_FragCoord.xy), level)";
    const std::string head = "uniform usampler2D image;\nuniform int level;\n";
    if (isDepth) {
        return head + "void main() { gl_FragDepth = uintBitsToFloat(" + fetch + ").r; }\n";
    }
    const std::string convert = numbers == Numbers::kFloat ? "uintBitsToFloat"
                                : numbers == Numbers::kInt ? "ivec4"
                                                           : "uvec4";
    return head + "out " + prefix_of(numbers) + "vec4 color;\nvoid main() { color = " + convert +
           "(" + fetch + "); }\n";
}

std::uint32_t bits_of(double value, Numbers numbers) {
    if (numbers == Numbers::kUint) return static_cast<std::uint32_t>(value);
    if (numbers == Numbers::kInt) {
        return static_cast<std::uint32_t>(static_cast<std::int32_t>(value));
    }
    const auto number = static_cast<float>(value);
    std::uint32_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    return bits;
}

double value_of(std::uint32_t bits, Numbers numbers) {
    if (numbers == Numbers::kUint) return bits;
    if (numbers == Numbers::kInt) return static_cast<std::int32_t>(bits);
    float number = 0;
    std::memcpy(&number, &bits, sizeof number);
    return number;
}

std::vector<std::uint32_t> bits_of(const Image& image, Numbers numbers) {
    std::vector<std::uint32_t> bits;
    bits.reserve(image.texels.size() * 4);
    for (const Texel& texel : image.texels) {
        for (const double value : texel) bits.push_back(bits_of(value, numbers));
    }
    return bits;
}

unsigned compile(const Gl& gl, Enum type, const std::string& text) {
    const unsigned shader = gl.CreateShader(type);
    const char* source = text.c_str();
    gl.ShaderSource(shader, 1, &source, nullptr);
    gl.CompileShader(shader);
    return shader;
}

void define_bits(const Gl& gl, const void* bits, int width, int height) {
    gl.TexImage2D(gl::kTexture2D, 0, static_cast<int>(gl::kRgba32ui), width, height, 0,
                  gl::kRgbaInteger, gl::kUnsignedInt, bits);
}

}  // namespace

Numbers numbers_of(const Format& format) {
    switch (format.kind) {
        case Kind::kInt:
            return Numbers::kInt;
        case Kind::kUint:
            return Numbers::kUint;
        default:
            return Numbers::kFloat;
    }
}

Judge::Judge(const Context& context) : context_(context), gl_(context.gl) {
    if (!context.facts.is_desktop(33) && !context.facts.is_es(30)) {
        trouble_ = "no judge before OpenGL 3.3 and OpenGL ES 3.0";
        return;
    }
    trouble_ = check();
    const std::string errors = take_errors(gl_);
    if (trouble_.empty() && !errors.empty()) trouble_ = "the judge has caused " + errors;
}

/// Compiled once; 0 where the context cannot.
unsigned Judge::program(const std::string& body) const {
    const auto known = programs_.find(body);
    if (known != programs_.end()) return known->second;
    const bool isEs = context_.facts.profile == Profile::kEs;
    const std::string head =
        isEs ? std::string("#version 300 es\n") + kPrecision : "#version 330\n";
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

Image Judge::read_target(Numbers numbers, int width, int height) const {
    const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    std::vector<std::uint32_t> bits(count * 4);
    gl_.ReadPixels(0, 0, width, height, gl::kRgbaInteger, gl::kUnsignedInt, bits.data());
    const std::uint32_t* next = bits.data();
    return make_image(width, height, [&](int, int) {
        Texel texel;
        for (double& component : texel) component = value_of(*next++, numbers);
        return texel;
    });
}

Image Judge::judge_with(const std::string& body, const Texture& texture, Numbers numbers, int level,
                        int width, int height) const {
    const Texture target(gl_);
    define_bits(gl_, nullptr, width, height);
    const Framebuffer framebuffer(gl_, gl::kColorAttachment, target);
    run(body, texture, level, width, height);
    return read_target(numbers, width, height);
}

Image Judge::look(const Texture& texture, Numbers numbers, int level, int width, int height) const {
    return judge_with(look_body(numbers), texture, numbers, level, width, height);
}

Image Judge::sample_row(const Texture& texture, int width) const {
    // The program's number is the width here.
    return judge_with(kSampleBody, texture, Numbers::kFloat, width, 4 * (width - 1) + 1, 1);
}

void Judge::draw(const Image& image, Numbers numbers, bool isDepth) const {
    const Texture source(gl_);
    define_bits(gl_, bits_of(image, numbers).data(), image.width, image.height);
    run(draw_body(numbers, isDepth), source, 0, image.width, image.height);
}

/// A texture that is cleared must look as it was cleared.
std::string Judge::check_clear(Enum internalFormat, Numbers numbers, const Texel& color) const {
    constexpr int kSize = 4;
    const Texture texture(gl_);
    const bool isInteger = numbers != Numbers::kFloat;
    const Enum type = numbers == Numbers::kInt    ? gl::kInt
                      : numbers == Numbers::kUint ? gl::kUnsignedInt
                                                  : gl::kUnsignedByte;
    gl_.TexImage2D(gl::kTexture2D, 0, static_cast<int>(internalFormat), kSize, kSize, 0,
                   isInteger ? gl::kRgbaInteger : gl::kRgba, type, nullptr);
    {
        const Framebuffer framebuffer(gl_, gl::kColorAttachment, texture);
        std::uint32_t bits[4];
        for (std::size_t c = 0; c < 4; ++c) bits[c] = bits_of(color[c], numbers);
        float floats[4];
        int ints[4];
        std::memcpy(floats, bits, sizeof floats);
        std::memcpy(ints, bits, sizeof ints);
        if (numbers == Numbers::kFloat) gl_.ClearBufferfv(gl::kColor, 0, floats);
        if (numbers == Numbers::kInt) gl_.ClearBufferiv(gl::kColor, 0, ints);
        if (numbers == Numbers::kUint) gl_.ClearBufferuiv(gl::kColor, 0, bits);
    }
    const Image seen = look(texture, numbers, 0, kSize, kSize);
    for (const Texel& texel : seen.texels) {
        if (texel != color) return "the judge sees a known clear otherwise";
    }
    return "";
}

/// Drawn bits must arrive in the format that holds them as they are.
std::string Judge::check_drawing() const {
    constexpr int kSize = 64;
    const Format bits = {"", gl::kRgba32ui, Base::kColor, Kind::kUint, {32, 32, 32, 32}, nullptr};
    const Image image = make_image(kSize, kSize, [&](int x, int y) { return pattern(bits, x, y); });
    const Texture texture(gl_);
    define_bits(gl_, nullptr, kSize, kSize);
    {
        const Framebuffer framebuffer(gl_, gl::kColorAttachment, texture);
        draw(image, Numbers::kUint, false);
    }
    const Image seen = look(texture, Numbers::kUint, 0, kSize, kSize);
    return seen.texels == image.texels ? "" : "the judge draws other bits than it was given";
}

std::string Judge::check() const {
    std::string trouble =
        check_clear(gl::kRgba32ui, Numbers::kUint, {0, 1, 4294967295.0, 0x40490FDB});
    if (trouble.empty())
        trouble = check_clear(gl::kRgba32i, Numbers::kInt, {0, -1, 2147483647.0, 5});
    if (trouble.empty()) trouble = check_clear(gl::kRgba8, Numbers::kFloat, {0, 1, 1, 0});
    return trouble.empty() ? check_drawing() : trouble;
}

}  // namespace texprobe::survey
