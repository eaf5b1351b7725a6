// OpenGL's functions as a table of the current context, under their names without "gl", and the
// numbers that the survey passes, as OpenGL's documents give them. One table for all profiles: no
// system's header has all of it.

#ifndef TEXPROBE_SURVEY_GL_FUNCTIONS_H
#define TEXPROBE_SURVEY_GL_FUNCTIONS_H

#include <cstddef>
#include <type_traits>

namespace texprobe::survey {

using Enum = unsigned;

// clang-format off
#define TEXPROBE_SURVEY_FUNCTIONS(X) \
    X(GetError, Enum()) \
    X(GetString, const unsigned char*(Enum name)) \
    X(GetStringi, const unsigned char*(Enum name, unsigned index)) \
    X(GetIntegerv, void(Enum name, int* value)) \
    X(GetInternalformativ, void(Enum target, Enum format, Enum name, int count, int* values)) \
    X(Enable, void(Enum capability)) \
    X(Disable, void(Enum capability)) \
    X(PixelStorei, void(Enum name, int value)) \
    X(GenTextures, void(int count, unsigned* names)) \
    X(DeleteTextures, void(int count, const unsigned* names)) \
    X(BindTexture, void(Enum target, unsigned texture)) \
    X(TexParameteri, void(Enum target, Enum name, int value)) \
    X(TexImage2D, void(Enum target, int level, int internalFormat, int width, int height, int border, Enum format, Enum type, const void* pixels)) \
    X(CompressedTexImage2D, void(Enum target, int level, Enum internalFormat, int width, int height, int border, int size, const void* blocks)) \
    X(CompressedTexSubImage2D, void(Enum target, int level, int x, int y, int width, int height, Enum format, int size, const void* blocks)) \
    X(TexSubImage2D, void(Enum target, int level, int x, int y, int width, int height, Enum format, Enum type, const void* pixels)) \
    X(TexStorage2D, void(Enum target, int levels, Enum internalFormat, int width, int height)) \
    X(GetTexLevelParameteriv, void(Enum target, int level, Enum name, int* value)) \
    X(GetTexImage, void(Enum target, int level, Enum format, Enum type, void* pixels)) \
    X(GenBuffers, void(int count, unsigned* names)) \
    X(DeleteBuffers, void(int count, const unsigned* names)) \
    X(BindBuffer, void(Enum target, unsigned buffer)) \
    X(BufferData, void(Enum target, std::ptrdiff_t size, const void* bytes, Enum usage)) \
    X(MapBufferRange, void*(Enum target, std::ptrdiff_t offset, std::ptrdiff_t size, unsigned access)) \
    X(UnmapBuffer, unsigned char(Enum target)) \
    X(GenerateMipmap, void(Enum target)) \
    X(GenFramebuffers, void(int count, unsigned* names)) \
    X(DeleteFramebuffers, void(int count, const unsigned* names)) \
    X(BindFramebuffer, void(Enum target, unsigned framebuffer)) \
    X(FramebufferTexture2D, void(Enum target, Enum attachment, Enum textureTarget, unsigned texture, int level)) \
    X(CheckFramebufferStatus, Enum(Enum target)) \
    X(DrawBuffers, void(int count, const Enum* buffers)) \
    X(ReadBuffer, void(Enum buffer)) \
    X(Viewport, void(int x, int y, int width, int height)) \
    X(ClearBufferfv, void(Enum buffer, int index, const float* value)) \
    X(ClearBufferiv, void(Enum buffer, int index, const int* value)) \
    X(ClearBufferuiv, void(Enum buffer, int index, const unsigned* value)) \
    X(ReadPixels, void(int x, int y, int width, int height, Enum format, Enum type, void* pixels)) \
    X(BlendFunc, void(Enum source, Enum destination)) \
    X(DepthFunc, void(Enum function)) \
    X(ClampColor, void(Enum target, Enum clamp)) \
    X(CreateShader, unsigned(Enum type)) \
    X(ShaderSource, void(unsigned shader, int count, const char* const* texts, const int* lengths)) \
    X(CompileShader, void(unsigned shader)) \
    X(DeleteShader, void(unsigned shader)) \
    X(CreateProgram, unsigned()) \
    X(AttachShader, void(unsigned program, unsigned shader)) \
    X(LinkProgram, void(unsigned program)) \
    X(GetProgramiv, void(unsigned program, Enum name, int* value)) \
    X(UseProgram, void(unsigned program)) \
    X(GetUniformLocation, int(unsigned program, const char* name)) \
    X(Uniform1i, void(int location, int value)) \
    X(GenVertexArrays, void(int count, unsigned* names)) \
    X(BindVertexArray, void(unsigned array)) \
    X(DrawArrays, void(Enum mode, int first, int count))
// clang-format on

struct Gl {
#define TEXPROBE_SURVEY_MEMBER(name, signature) std::add_pointer_t<signature> name = nullptr;
    TEXPROBE_SURVEY_FUNCTIONS(TEXPROBE_SURVEY_MEMBER)
#undef TEXPROBE_SURVEY_MEMBER
};

/// The functions of the current context. One that it lacks is null or must not be called.
Gl load_gl();

using GlFunction = void (*)();

/// A function of OpenGL by its name; null if the system does not know it. Each system has its own.
GlFunction gl_function(const char* name);

namespace gl {

constexpr Enum kNoError = 0, kOutOfMemory = 0x0505, kContextLost = 0x0507;
constexpr Enum kVersion = 0x1F02, kExtensions = 0x1F03, kNumExtensions = 0x821D;
constexpr Enum kTexture2D = 0x0DE1, kInternalFormat = 0x1003, kUnpackAlignment = 0x0CF5,
               kUnpackRowLength = 0x0CF2, kUnpackSkipRows = 0x0CF3, kUnpackSkipPixels = 0x0CF4,
               kPackAlignment = 0x0D05, kPackRowLength = 0x0D02, kPackSkipRows = 0x0D03,
               kPackSkipPixels = 0x0D04;
constexpr Enum kPixelPackBuffer = 0x88EB, kPixelUnpackBuffer = 0x88EC, kStreamDraw = 0x88E0,
               kStreamRead = 0x88E1, kMapRead = 1;
constexpr Enum kImplementationColorReadType = 0x8B9A, kImplementationColorReadFormat = 0x8B9B;
constexpr Enum kMagFilter = 0x2800, kMinFilter = 0x2801, kWrapS = 0x2802, kWrapT = 0x2803,
               kMaxLevel = 0x813D;
constexpr int kNearest = 0x2600, kLinear = 0x2601, kNearestMipmapNearest = 0x2700,
              kClampToEdge = 0x812F;
constexpr Enum kRedSize = 0x805C, kGreenSize = 0x805D, kBlueSize = 0x805E, kAlphaSize = 0x805F,
               kLuminanceSize = 0x8060, kDepthSize = 0x884A, kStencilSize = 0x88F1;
constexpr Enum kFramebuffer = 0x8D40, kComplete = 0x8CD5, kColorAttachment = 0x8CE0,
               kDepthAttachment = 0x8D00, kDepthStencilAttachment = 0x821A;
constexpr Enum kColor = 0x1800, kNone = 0, kOne = 1, kAlways = 0x0207, kTriangles = 0x0004;
constexpr Enum kDither = 0x0BD0, kBlend = 0x0BE2, kDepthTest = 0x0B71, kFramebufferSrgb = 0x8DB9,
               kClampFragmentColor = 0x891B, kClampReadColor = 0x891C;
constexpr Enum kRgba = 0x1908, kRgbaInteger = 0x8D99, kBgra = 0x80E1, kUnsignedByte = 0x1401,
               kUnsignedInt = 0x1405, kFloat = 0x1406;
constexpr Enum kRgba8 = 0x8058, kRgba32ui = 0x8D70;
constexpr Enum kVertexShader = 0x8B31, kFragmentShader = 0x8B30, kLinkStatus = 0x8B82;
constexpr Enum kFullSupport = 0x82B7, kFramebufferRenderable = 0x8289, kFramebufferBlend = 0x828B,
               kFilterQuery = 0x829A, kManualGenerateMipmap = 0x8294;
constexpr Enum kVendor = 0x1F00, kRenderer = 0x1F01;

}  // namespace gl

}  // namespace texprobe::survey

#endif
