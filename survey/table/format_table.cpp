#include "table/format_table.h"

#include <algorithm>

namespace texprobe::survey {

namespace {

/// Of formats that are filtered wherever there are textures of them, and blended wherever they are
/// rendered to.
constexpr Promises promised(const char* textures, const char* rendering = "") {
    return {textures, rendering, textures, rendering};
}

// Desktop OpenGL filters and blends whatever it can hold, except integers; the formats that must be
// renderable are in its tables of required formats. OpenGL ES says all four of each format. The
// documents are OpenGL 4.6, tables 8.12 and 8.13; OpenGL ES 3.0.6, table 3.13; OpenGL ES 3.2,
// table 8.10.
constexpr const char* kBoth = "gl3.0 es3.0";
constexpr Promises kAll = promised(kBoth, kBoth);
constexpr Promises kTextureOnly = promised(kBoth);
constexpr Promises kRgb8 = promised(kBoth, "es3.0");
constexpr Promises kInteger = {kBoth, kBoth, "", ""};
constexpr Promises kIntegersOfThree = {kBoth, "", "", ""};
constexpr Promises kRgb10A2ui = {"gl3.3 es3.0", "gl3.3 es3.0", "", ""};
constexpr Promises kDepths = {kBoth, kBoth, "gl3.0", ""};
constexpr const char* kEs2Words = "gl4.1 GL_ARB_ES2_compatibility es3.0";
constexpr Promises kRgb565 = promised(kEs2Words, kEs2Words);
// OpenGL 4.3 takes up the formats of OpenGL ES 3.0 (GL_ARB_ES3_compatibility), and these two are
// among its formats to render to. Whether an earlier version required them is not certain, so this
// one is the promise.
constexpr Promises kSmall = promised("gl4.3 es3.0", "gl4.3 es3.0");
constexpr Promises kBgraOfEs = promised("GL_EXT_texture_format_BGRA8888");

// OpenGL 4.6, table 8.12; GL_EXT_texture_norm16. Signed ones also OpenGL ES 3.0.6, table 3.13;
// GL_EXT_render_snorm.
constexpr const char* kNorm16Words = "gl3.0 GL_EXT_texture_norm16";
constexpr Promises kUnorm16 = promised(kNorm16Words, kNorm16Words);
constexpr Promises kRgb16 = promised(kNorm16Words);
constexpr Promises kSnorm8 = promised("gl3.1 es3.0", "GL_EXT_render_snorm");
constexpr Promises kRgb8Snorm = promised("gl3.1 es3.0");
constexpr Promises kSnorm16 = promised("gl3.1 GL_EXT_texture_norm16", "GL_EXT_render_snorm");
constexpr Promises kRgb16Snorm = promised("gl3.1 GL_EXT_texture_norm16");

// OpenGL 4.6, table 8.12; OpenGL ES 3.0.6, table 3.13; OpenGL ES 3.2, table 8.10 and section
// 15.1.5; GL_EXT_color_buffer_float; GL_EXT_color_buffer_half_float; GL_EXT_float_blend;
// GL_OES_texture_float_linear.
constexpr const char* kFullRendering = "gl3.0 es3.2 GL_EXT_color_buffer_float";
constexpr const char* kFullFilter = "gl3.0 GL_OES_texture_float_linear";
constexpr Promises kHalfFloat =
    promised(kBoth, "gl3.0 es3.2 GL_EXT_color_buffer_float GL_EXT_color_buffer_half_float");
constexpr Promises kRgbHalf = promised(kBoth, "GL_EXT_color_buffer_half_float");
constexpr Promises kFull = {kBoth, kFullRendering, kFullFilter, "gl3.0 GL_EXT_float_blend"};
constexpr Promises kRgbFull = {kBoth, "", kFullFilter, ""};
constexpr Promises kPackedFloat = promised(kBoth, kFullRendering);

// OpenGL 4.6 compatibility profile, table 8.14; GL_ARB_texture_float.
constexpr Promises kLegacy = promised("compat1.1");
constexpr Promises kLegacyFloat = promised("compat:GL_ARB_texture_float");

// Compressed formats are filtered wherever they exist: no filter may sample integers and those
// sized formats that OpenGL ES lists as not filterable, and no compressed one is among them.
// Beside the extensions' documents: OpenGL 4.6, table 8.14; OpenGL ES 3.0.6, section 3.8.6 and
// appendix C; OpenGL ES 3.2, appendix C.
constexpr Promises kS3tcRgb1 =
    promised("GL_EXT_texture_compression_s3tc GL_EXT_texture_compression_dxt1");
constexpr Promises kS3tc = promised("GL_EXT_texture_compression_s3tc");
constexpr Promises kS3tcSrgb = promised(
    "GL_EXT_texture_compression_s3tc_srgb GL_EXT_texture_sRGB+GL_EXT_texture_compression_s3tc");
constexpr Promises kRgtc =
    promised("gl3.0 GL_ARB_texture_compression_rgtc GL_EXT_texture_compression_rgtc");
constexpr Promises kBptc =
    promised("gl4.2 GL_ARB_texture_compression_bptc GL_EXT_texture_compression_bptc");
constexpr Promises kEtc = promised("gl4.3 es3.0 GL_ARB_ES3_compatibility");
constexpr Promises kAstcLdr =
    promised("es3.2 GL_KHR_texture_compression_astc_ldr GL_OES_texture_compression_astc");

constexpr Block kBc1 = {Scheme::kBc1, 4, 8}, kBc2 = {Scheme::kBc2, 4, 16},
                kBc3 = {Scheme::kBc3, 4, 16}, kBc4 = {Scheme::kBc4, 4, 8},
                kBc5 = {Scheme::kBc4, 4, 16}, kBc6 = {Scheme::kBc6, 4, 16},
                kBc7 = {Scheme::kBc7, 4, 16};
constexpr Block kEtc2 = {Scheme::kEtc2, 4, 8},
                kEtc2Punchthrough = {Scheme::kEtc2Punchthrough, 4, 8},
                kEtc2Eac = {Scheme::kEtc2Eac, 4, 16}, kEac1 = {Scheme::kEac, 4, 8},
                kEac2 = {Scheme::kEac, 4, 16};
constexpr Block kAstc4 = {Scheme::kAstc, 4, 16}, kAstc6 = {Scheme::kAstc, 6, 16},
                kAstc8 = {Scheme::kAstc, 8, 16};

const std::vector<Format> kFormats = {
    // clang-format off
    // Unsigned normalized.
    {"GL_R8", 0x8229, Base::kColor, Kind::kUnorm, {8, 0, 0, 0}, &kAll},
    {"GL_RG8", 0x822B, Base::kColor, Kind::kUnorm, {8, 8, 0, 0}, &kAll},
    {"GL_RGB8", 0x8051, Base::kColor, Kind::kUnorm, {8, 8, 8, 0}, &kRgb8},
    {"GL_RGBA8", 0x8058, Base::kColor, Kind::kUnorm, {8, 8, 8, 8}, &kAll},
    // Unsigned normalized, 16 bits.
    {"GL_R16", 0x822A, Base::kColor, Kind::kUnorm, {16, 0, 0, 0}, &kUnorm16},
    {"GL_RG16", 0x822C, Base::kColor, Kind::kUnorm, {16, 16, 0, 0}, &kUnorm16},
    {"GL_RGB16", 0x8054, Base::kColor, Kind::kUnorm, {16, 16, 16, 0}, &kRgb16},
    {"GL_RGBA16", 0x805B, Base::kColor, Kind::kUnorm, {16, 16, 16, 16}, &kUnorm16},
    // Signed normalized.
    {"GL_R8_SNORM", 0x8F94, Base::kColor, Kind::kSnorm, {8, 0, 0, 0}, &kSnorm8},
    {"GL_RG8_SNORM", 0x8F95, Base::kColor, Kind::kSnorm, {8, 8, 0, 0}, &kSnorm8},
    {"GL_RGB8_SNORM", 0x8F96, Base::kColor, Kind::kSnorm, {8, 8, 8, 0}, &kRgb8Snorm},
    {"GL_RGBA8_SNORM", 0x8F97, Base::kColor, Kind::kSnorm, {8, 8, 8, 8}, &kSnorm8},
    // Signed normalized, 16 bits.
    {"GL_R16_SNORM", 0x8F98, Base::kColor, Kind::kSnorm, {16, 0, 0, 0}, &kSnorm16},
    {"GL_RG16_SNORM", 0x8F99, Base::kColor, Kind::kSnorm, {16, 16, 0, 0}, &kSnorm16},
    {"GL_RGB16_SNORM", 0x8F9A, Base::kColor, Kind::kSnorm, {16, 16, 16, 0}, &kRgb16Snorm},
    {"GL_RGBA16_SNORM", 0x8F9B, Base::kColor, Kind::kSnorm, {16, 16, 16, 16}, &kSnorm16},
    // Unsigned integers.
    {"GL_R8UI", 0x8232, Base::kColor, Kind::kUint, {8, 0, 0, 0}, &kInteger},
    {"GL_RG8UI", 0x8238, Base::kColor, Kind::kUint, {8, 8, 0, 0}, &kInteger},
    {"GL_RGB8UI", 0x8D7D, Base::kColor, Kind::kUint, {8, 8, 8, 0}, &kIntegersOfThree},
    {"GL_RGBA8UI", 0x8D7C, Base::kColor, Kind::kUint, {8, 8, 8, 8}, &kInteger},
    // Unsigned integers, 16 bits.
    {"GL_R16UI", 0x8234, Base::kColor, Kind::kUint, {16, 0, 0, 0}, &kInteger},
    {"GL_RG16UI", 0x823A, Base::kColor, Kind::kUint, {16, 16, 0, 0}, &kInteger},
    {"GL_RGB16UI", 0x8D77, Base::kColor, Kind::kUint, {16, 16, 16, 0}, &kIntegersOfThree},
    {"GL_RGBA16UI", 0x8D76, Base::kColor, Kind::kUint, {16, 16, 16, 16}, &kInteger},
    // Unsigned integers, 32 bits.
    {"GL_R32UI", 0x8236, Base::kColor, Kind::kUint, {32, 0, 0, 0}, &kInteger},
    {"GL_RG32UI", 0x823C, Base::kColor, Kind::kUint, {32, 32, 0, 0}, &kInteger},
    {"GL_RGB32UI", 0x8D71, Base::kColor, Kind::kUint, {32, 32, 32, 0}, &kIntegersOfThree},
    {"GL_RGBA32UI", 0x8D70, Base::kColor, Kind::kUint, {32, 32, 32, 32}, &kInteger},
    // Signed integers.
    {"GL_R8I", 0x8231, Base::kColor, Kind::kInt, {8, 0, 0, 0}, &kInteger},
    {"GL_RG8I", 0x8237, Base::kColor, Kind::kInt, {8, 8, 0, 0}, &kInteger},
    {"GL_RGB8I", 0x8D8F, Base::kColor, Kind::kInt, {8, 8, 8, 0}, &kIntegersOfThree},
    {"GL_RGBA8I", 0x8D8E, Base::kColor, Kind::kInt, {8, 8, 8, 8}, &kInteger},
    // Signed integers, 16 bits.
    {"GL_R16I", 0x8233, Base::kColor, Kind::kInt, {16, 0, 0, 0}, &kInteger},
    {"GL_RG16I", 0x8239, Base::kColor, Kind::kInt, {16, 16, 0, 0}, &kInteger},
    {"GL_RGB16I", 0x8D89, Base::kColor, Kind::kInt, {16, 16, 16, 0}, &kIntegersOfThree},
    {"GL_RGBA16I", 0x8D88, Base::kColor, Kind::kInt, {16, 16, 16, 16}, &kInteger},
    // Signed integers, 32 bits.
    {"GL_R32I", 0x8235, Base::kColor, Kind::kInt, {32, 0, 0, 0}, &kInteger},
    {"GL_RG32I", 0x823B, Base::kColor, Kind::kInt, {32, 32, 0, 0}, &kInteger},
    {"GL_RGB32I", 0x8D83, Base::kColor, Kind::kInt, {32, 32, 32, 0}, &kIntegersOfThree},
    {"GL_RGBA32I", 0x8D82, Base::kColor, Kind::kInt, {32, 32, 32, 32}, &kInteger},
    // Half floats.
    {"GL_R16F", 0x822D, Base::kColor, Kind::kFloat, {16, 0, 0, 0}, &kHalfFloat},
    {"GL_RG16F", 0x822F, Base::kColor, Kind::kFloat, {16, 16, 0, 0}, &kHalfFloat},
    {"GL_RGB16F", 0x881B, Base::kColor, Kind::kFloat, {16, 16, 16, 0}, &kRgbHalf},
    {"GL_RGBA16F", 0x881A, Base::kColor, Kind::kFloat, {16, 16, 16, 16}, &kHalfFloat},
    // Floats.
    {"GL_R32F", 0x822E, Base::kColor, Kind::kFloat, {32, 0, 0, 0}, &kFull},
    {"GL_RG32F", 0x8230, Base::kColor, Kind::kFloat, {32, 32, 0, 0}, &kFull},
    {"GL_RGB32F", 0x8815, Base::kColor, Kind::kFloat, {32, 32, 32, 0}, &kRgbFull},
    {"GL_RGBA32F", 0x8814, Base::kColor, Kind::kFloat, {32, 32, 32, 32}, &kFull},
    // sRGB.
    {"GL_SRGB8", 0x8C41, Base::kColor, Kind::kSrgb, {8, 8, 8, 0}, &kTextureOnly},
    {"GL_SRGB8_ALPHA8", 0x8C43, Base::kColor, Kind::kSrgb, {8, 8, 8, 8}, &kAll},
    // Packed.
    {"GL_RGB565", 0x8D62, Base::kColor, Kind::kUnorm, {5, 6, 5, 0}, &kRgb565},
    {"GL_RGB5_A1", 0x8057, Base::kColor, Kind::kUnorm, {5, 5, 5, 1}, &kSmall},
    {"GL_RGBA4", 0x8056, Base::kColor, Kind::kUnorm, {4, 4, 4, 4}, &kSmall},
    {"GL_RGB10_A2", 0x8059, Base::kColor, Kind::kUnorm, {10, 10, 10, 2}, &kAll},
    {"GL_RGB10_A2UI", 0x906F, Base::kColor, Kind::kUint, {10, 10, 10, 2}, &kRgb10A2ui},
    {"GL_R11F_G11F_B10F", 0x8C3A, Base::kColor, Kind::kUfloat, {11, 11, 10, 0}, &kPackedFloat},
    {"GL_RGB9_E5", 0x8C3D, Base::kColor, Kind::kSharedExponent, {9, 9, 9, 0}, &kTextureOnly},
    {"GL_BGRA8_EXT", 0x93A1, Base::kColor, Kind::kUnorm, {8, 8, 8, 8}, &kBgraOfEs},
    // Depth and stencil.
    {"GL_DEPTH_COMPONENT16", 0x81A5, Base::kDepth, Kind::kUnorm, {16, 0, 0, 0}, &kDepths},
    {"GL_DEPTH_COMPONENT24", 0x81A6, Base::kDepth, Kind::kUnorm, {24, 0, 0, 0}, &kDepths},
    {"GL_DEPTH_COMPONENT32F", 0x8CAC, Base::kDepth, Kind::kFloat, {32, 0, 0, 0}, &kDepths},
    {"GL_DEPTH24_STENCIL8", 0x88F0, Base::kDepthStencil, Kind::kUnorm, {24, 0, 0, 0}, &kDepths},
    {"GL_DEPTH32F_STENCIL8", 0x8CAD, Base::kDepthStencil, Kind::kFloat, {32, 0, 0, 0}, &kDepths},
    // Luminance, which only the compatibility profile has.
    {"GL_LUMINANCE8", 0x8040, Base::kLuminance, Kind::kUnorm, {8, 0, 0, 0}, &kLegacy},
    {"GL_LUMINANCE8_ALPHA8", 0x8045, Base::kLuminance, Kind::kUnorm, {8, 0, 0, 8}, &kLegacy},
    {"GL_LUMINANCE16", 0x8042, Base::kLuminance, Kind::kUnorm, {16, 0, 0, 0}, &kLegacy},
    {"GL_LUMINANCE16_ALPHA16", 0x8048, Base::kLuminance, Kind::kUnorm, {16, 0, 0, 16}, &kLegacy},
    {"GL_LUMINANCE16F_ARB", 0x881E, Base::kLuminance, Kind::kFloat, {16, 0, 0, 0}, &kLegacyFloat},
    {"GL_LUMINANCE_ALPHA16F_ARB", 0x881F, Base::kLuminance, Kind::kFloat, {16, 0, 0, 16}, &kLegacyFloat},
    {"GL_LUMINANCE32F_ARB", 0x8818, Base::kLuminance, Kind::kFloat, {32, 0, 0, 0}, &kLegacyFloat},
    {"GL_LUMINANCE_ALPHA32F_ARB", 0x8819, Base::kLuminance, Kind::kFloat, {32, 0, 0, 32}, &kLegacyFloat},
    // BC1 to BC3.
    {"GL_COMPRESSED_RGB_S3TC_DXT1_EXT", 0x83F0, Base::kColor, Kind::kUnorm, {8, 8, 8, 0}, &kS3tcRgb1, kBc1},
    {"GL_COMPRESSED_RGBA_S3TC_DXT1_EXT", 0x83F1, Base::kColor, Kind::kUnorm, {8, 8, 8, 8}, &kS3tcRgb1, kBc1},
    {"GL_COMPRESSED_RGBA_S3TC_DXT3_EXT", 0x83F2, Base::kColor, Kind::kUnorm, {8, 8, 8, 8}, &kS3tc, kBc2},
    {"GL_COMPRESSED_RGBA_S3TC_DXT5_EXT", 0x83F3, Base::kColor, Kind::kUnorm, {8, 8, 8, 8}, &kS3tc, kBc3},
    {"GL_COMPRESSED_SRGB_S3TC_DXT1_EXT", 0x8C4C, Base::kColor, Kind::kSrgb, {8, 8, 8, 0}, &kS3tcSrgb, kBc1},
    {"GL_COMPRESSED_SRGB_ALPHA_S3TC_DXT1_EXT", 0x8C4D, Base::kColor, Kind::kSrgb, {8, 8, 8, 8}, &kS3tcSrgb, kBc1},
    {"GL_COMPRESSED_SRGB_ALPHA_S3TC_DXT3_EXT", 0x8C4E, Base::kColor, Kind::kSrgb, {8, 8, 8, 8}, &kS3tcSrgb, kBc2},
    {"GL_COMPRESSED_SRGB_ALPHA_S3TC_DXT5_EXT", 0x8C4F, Base::kColor, Kind::kSrgb, {8, 8, 8, 8}, &kS3tcSrgb, kBc3},
    // BC4 and BC5.
    {"GL_COMPRESSED_RED_RGTC1", 0x8DBB, Base::kColor, Kind::kUnorm, {8, 0, 0, 0}, &kRgtc, kBc4},
    {"GL_COMPRESSED_SIGNED_RED_RGTC1", 0x8DBC, Base::kColor, Kind::kSnorm, {8, 0, 0, 0}, &kRgtc, kBc4},
    {"GL_COMPRESSED_RG_RGTC2", 0x8DBD, Base::kColor, Kind::kUnorm, {8, 8, 0, 0}, &kRgtc, kBc5},
    {"GL_COMPRESSED_SIGNED_RG_RGTC2", 0x8DBE, Base::kColor, Kind::kSnorm, {8, 8, 0, 0}, &kRgtc, kBc5},
    // BC6 and BC7.
    {"GL_COMPRESSED_RGB_BPTC_SIGNED_FLOAT", 0x8E8E, Base::kColor, Kind::kFloat, {16, 16, 16, 0}, &kBptc, kBc6},
    {"GL_COMPRESSED_RGB_BPTC_UNSIGNED_FLOAT", 0x8E8F, Base::kColor, Kind::kUfloat, {16, 16, 16, 0}, &kBptc, kBc6},
    {"GL_COMPRESSED_RGBA_BPTC_UNORM", 0x8E8C, Base::kColor, Kind::kUnorm, {8, 8, 8, 8}, &kBptc, kBc7},
    {"GL_COMPRESSED_SRGB_ALPHA_BPTC_UNORM", 0x8E8D, Base::kColor, Kind::kSrgb, {8, 8, 8, 8}, &kBptc, kBc7},
    // ETC2 and EAC.
    {"GL_COMPRESSED_RGB8_ETC2", 0x9274, Base::kColor, Kind::kUnorm, {8, 8, 8, 0}, &kEtc, kEtc2},
    {"GL_COMPRESSED_SRGB8_ETC2", 0x9275, Base::kColor, Kind::kSrgb, {8, 8, 8, 0}, &kEtc, kEtc2},
    {"GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2", 0x9276, Base::kColor, Kind::kUnorm, {8, 8, 8, 8}, &kEtc, kEtc2Punchthrough},
    {"GL_COMPRESSED_SRGB8_PUNCHTHROUGH_ALPHA1_ETC2", 0x9277, Base::kColor, Kind::kSrgb, {8, 8, 8, 8}, &kEtc, kEtc2Punchthrough},
    {"GL_COMPRESSED_RGBA8_ETC2_EAC", 0x9278, Base::kColor, Kind::kUnorm, {8, 8, 8, 8}, &kEtc, kEtc2Eac},
    {"GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC", 0x9279, Base::kColor, Kind::kSrgb, {8, 8, 8, 8}, &kEtc, kEtc2Eac},
    {"GL_COMPRESSED_R11_EAC", 0x9270, Base::kColor, Kind::kUnorm, {11, 0, 0, 0}, &kEtc, kEac1},
    {"GL_COMPRESSED_SIGNED_R11_EAC", 0x9271, Base::kColor, Kind::kSnorm, {11, 0, 0, 0}, &kEtc, kEac1},
    {"GL_COMPRESSED_RG11_EAC", 0x9272, Base::kColor, Kind::kUnorm, {11, 11, 0, 0}, &kEtc, kEac2},
    {"GL_COMPRESSED_SIGNED_RG11_EAC", 0x9273, Base::kColor, Kind::kSnorm, {11, 11, 0, 0}, &kEtc, kEac2},
    // ASTC.
    {"GL_COMPRESSED_RGBA_ASTC_4x4_KHR", 0x93B0, Base::kColor, Kind::kUnorm, {8, 8, 8, 8}, &kAstcLdr, kAstc4},
    {"GL_COMPRESSED_SRGB8_ALPHA8_ASTC_4x4_KHR", 0x93D0, Base::kColor, Kind::kSrgb, {8, 8, 8, 8}, &kAstcLdr, kAstc4},
    {"GL_COMPRESSED_RGBA_ASTC_6x6_KHR", 0x93B4, Base::kColor, Kind::kUnorm, {8, 8, 8, 8}, &kAstcLdr, kAstc6},
    {"GL_COMPRESSED_SRGB8_ALPHA8_ASTC_6x6_KHR", 0x93D4, Base::kColor, Kind::kSrgb, {8, 8, 8, 8}, &kAstcLdr, kAstc6},
    {"GL_COMPRESSED_RGBA_ASTC_8x8_KHR", 0x93B7, Base::kColor, Kind::kUnorm, {8, 8, 8, 8}, &kAstcLdr, kAstc8},
    {"GL_COMPRESSED_SRGB8_ALPHA8_ASTC_8x8_KHR", 0x93D7, Base::kColor, Kind::kSrgb, {8, 8, 8, 8}, &kAstcLdr, kAstc8},
    // clang-format on
};

}  // namespace

const std::vector<Format>& formats() {
    return kFormats;
}

const Format* find_format(const std::string& name) {
    const auto found = std::find_if(kFormats.begin(), kFormats.end(),
                                    [&](const Format& format) { return name == format.name; });
    return found == kFormats.end() ? nullptr : &*found;
}

const char* name_of(Use use) {
    static constexpr const char* kNames[] = {
        "create",        "create_storage", "filter",
        "mipmap",        "render",         "blend",
        "upload",        "upload_part",    "upload_part_storage",
        "upload_buffer", "define_buffer",  "read",
        "read_part",     "read_buffer",    "get",
        "get_buffer"};
    return kNames[static_cast<std::size_t>(use)];
}

bool has_use(const Format& format, Use use) {
    if (format.is_compressed()) {
        return use <= Use::kFilter || use == Use::kUpload || use == Use::kUploadPart ||
               use == Use::kUploadBuffer;
    }
    if (is_transfer(use)) return false;
    if (use == Use::kBlend) return !format.is_integer() && !format.is_depth();
    return !format.is_integer() || (use != Use::kFilter && use != Use::kMipmap);
}

}  // namespace texprobe::survey
