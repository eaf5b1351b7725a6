// OpenGL's functions as a table of the current context, under their names without "gl", and the
// numbers that the survey passes, as OpenGL's documents give them. One table for all profiles: no
// system's header has all of it.

#ifndef TEXPROBE_SURVEY_GL_FUNCTIONS_H
#define TEXPROBE_SURVEY_GL_FUNCTIONS_H

#include <cstddef>

namespace texprobe::survey {

using Enum = unsigned;

// clang-format off
#define TEXPROBE_SURVEY_FUNCTIONS(X) \
    X(Enum, GetError, ()) \
    X(const unsigned char*, GetString, (Enum name)) \
    X(const unsigned char*, GetStringi, (Enum name, unsigned index)) \
    X(void, GetIntegerv, (Enum name, int* value)) \
    X(void, GetInternalformativ, (Enum target, Enum format, Enum name, int count, int* values)) \
    X(void, Enable, (Enum capability)) \
    X(void, Disable, (Enum capability)) \
    X(void, PixelStorei, (Enum name, int value)) \
    X(void, Finish, ()) \
    X(void, GenTextures, (int count, unsigned* names)) \
    X(void, DeleteTextures, (int count, const unsigned* names)) \
    X(void, BindTexture, (Enum target, unsigned texture)) \
    X(void, TexParameteri, (Enum target, Enum name, int value)) \
    X(void, TexImage2D, (Enum target, int level, int internalFormat, int width, int height, int border, Enum format, Enum type, const void* pixels)) \
    X(void, TexStorage2D, (Enum target, int levels, Enum internalFormat, int width, int height)) \
    X(void, GetTexLevelParameteriv, (Enum target, int level, Enum name, int* value)) \
    X(void, GenerateMipmap, (Enum target)) \
    X(void, GenFramebuffers, (int count, unsigned* names)) \
    X(void, DeleteFramebuffers, (int count, const unsigned* names)) \
    X(void, BindFramebuffer, (Enum target, unsigned framebuffer)) \
    X(void, FramebufferTexture2D, (Enum target, Enum attachment, Enum textureTarget, unsigned texture, int level)) \
    X(Enum, CheckFramebufferStatus, (Enum target)) \
    X(void, DrawBuffers, (int count, const Enum* buffers)) \
    X(void, ReadBuffer, (Enum buffer)) \
    X(void, Viewport, (int x, int y, int width, int height)) \
    X(void, ClearBufferfv, (Enum buffer, int index, const float* value)) \
    X(void, ClearBufferiv, (Enum buffer, int index, const int* value)) \
    X(void, ClearBufferuiv, (Enum buffer, int index, const unsigned* value)) \
    X(void, ReadPixels, (int x, int y, int width, int height, Enum format, Enum type, void* pixels)) \
    X(void, BlendFunc, (Enum source, Enum destination)) \
    X(void, DepthFunc, (Enum function)) \
    X(void, ClampColor, (Enum target, Enum clamp)) \
    X(unsigned, CreateShader, (Enum type)) \
    X(void, ShaderSource, (unsigned shader, int count, const char* const* texts, const int* lengths)) \
    X(void, CompileShader, (unsigned shader)) \
    X(void, DeleteShader, (unsigned shader)) \
    X(unsigned, CreateProgram, ()) \
    X(void, AttachShader, (unsigned program, unsigned shader)) \
    X(void, LinkProgram, (unsigned program)) \
    X(void, GetProgramiv, (unsigned program, Enum name, int* value)) \
    X(void, UseProgram, (unsigned program)) \
    X(int, GetUniformLocation, (unsigned program, const char* name)) \
    X(void, Uniform1i, (int location, int value)) \
    X(void, GenVertexArrays, (int count, unsigned* names)) \
    X(void, BindVertexArray, (unsigned array)) \
    X(void, DrawArrays, (Enum mode, int first, int count))
// clang-format on

struct Gl {
#define TEXPROBE_SURVEY_MEMBER(result, name, parameters) result(*name) parameters = nullptr;
    TEXPROBE_SURVEY_FUNCTIONS(TEXPROBE_SURVEY_MEMBER)
#undef TEXPROBE_SURVEY_MEMBER
};

/// The functions of the current context. What it does not have is null or must not be called.
Gl load_gl();

using GlFunction = void (*)();

/// A function of OpenGL by its name; null if the system does not know it. Each system has its own.
GlFunction gl_function(const char* name);

namespace gl {

constexpr Enum kNoError = 0, kOutOfMemory = 0x0505, kContextLost = 0x0507;
constexpr Enum kVersion = 0x1F02, kExtensions = 0x1F03, kNumExtensions = 0x821D,
               kMajorVersion = 0x821B, kMinorVersion = 0x821C;
constexpr Enum kTexture2D = 0x0DE1, kUnpackAlignment = 0x0CF5, kPackAlignment = 0x0D05;
constexpr Enum kMagFilter = 0x2800, kMinFilter = 0x2801, kWrapS = 0x2802, kWrapT = 0x2803,
               kMaxLevel = 0x813D;
constexpr int kNearest = 0x2600, kLinear = 0x2601, kNearestMipmapNearest = 0x2700,
              kClampToEdge = 0x812F;
constexpr Enum kRedSize = 0x805C, kGreenSize = 0x805D, kBlueSize = 0x805E, kAlphaSize = 0x805F,
               kLuminanceSize = 0x8060, kDepthSize = 0x884A, kStencilSize = 0x88F1,
               kSharedSize = 0x8C3F;
constexpr Enum kFramebuffer = 0x8D40, kComplete = 0x8CD5, kColorAttachment = 0x8CE0,
               kDepthAttachment = 0x8D00, kDepthStencilAttachment = 0x821A;
constexpr Enum kColor = 0x1800, kNone = 0, kOne = 1, kAlways = 0x0207, kTriangles = 0x0004;
constexpr Enum kDither = 0x0BD0, kBlend = 0x0BE2, kDepthTest = 0x0B71, kFramebufferSrgb = 0x8DB9,
               kClampFragmentColor = 0x891B;
constexpr Enum kRgba = 0x1908, kRgbaInteger = 0x8D99, kBgra = 0x80E1, kUnsignedByte = 0x1401,
               kUnsignedInt = 0x1405, kFloat = 0x1406, kInt = 0x1404;
constexpr Enum kRgba8 = 0x8058, kRgba32f = 0x8814, kRgba32i = 0x8D82, kRgba32ui = 0x8D70;
constexpr Enum kVertexShader = 0x8B31, kFragmentShader = 0x8B30, kLinkStatus = 0x8B82;
constexpr Enum kFullSupport = 0x82B7, kFramebufferRenderable = 0x8289, kFramebufferBlend = 0x828B,
               kFilterQuery = 0x829A, kManualGenerateMipmap = 0x8294;

}  // namespace gl

}  // namespace texprobe::survey

#endif
