// The formats that are surveyed: the components of each, and who promises which uses.
//
// Nothing here needs OpenGL; names and numbers are those of its documents.

#ifndef TEXPROBE_SURVEY_FORMAT_TABLE_H
#define TEXPROBE_SURVEY_FORMAT_TABLE_H

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace texprobe::survey {

/// How the bits of a component are read.
enum class Kind : unsigned char {
    kUnorm,           ///< 0 to 2^n - 1 as 0 to 1.
    kSnorm,           ///< -(2^(n-1) - 1) to 2^(n-1) - 1 as -1 to 1.
    kSrgb,            ///< As kUnorm, of the sRGB curve; alpha is kUnorm.
    kUint,            ///< Integers as they are.
    kInt,             ///
    kFloat,           ///< With a sign, 16 or 32 bits.
    kUfloat,          ///< Without a sign, 10 or 11 bits.
    kSharedExponent,  ///< Nine bits each and an exponent for all three.
};

enum class Base : unsigned char { kColor, kLuminance, kDepth, kDepthStencil };

/// Who promises a use: words, each sufficient, with a space between them. "gl3.0": desktop OpenGL
/// from that version on. "compat1.1": in the compatibility profile only. "es3.0": OpenGL ES.
/// "GL_...": a context with this extension. "compat:GL_...": such a context of that profile.
/// "GL_...+GL_...": a context with both.
struct Promises {
    const char* create;
    const char* render;
    const char* filter;
    const char* blend;
};

/// How a block of texels is encoded; with one component fewer where the format has one fewer.
enum class Scheme : unsigned char {
    kNone,  ///< It is not: each texel is on its own.
    kBc1,
    kBc2,
    kBc3,
    kBc4,  ///< Two of them, side by side, are BC5.
    kBc6,
    kBc7,
    kEtc2,
    kEtc2Punchthrough,
    kEtc2Eac,  ///< Alpha by EAC.
    kEac,
    kAstc,
};

/// Of a compressed format. Those of the table are square.
struct Block {
    Scheme scheme = Scheme::kNone;
    int side = 1;
    int bytes = 0;
};

struct Format {
    const char* name;
    unsigned value;
    Base base;
    Kind kind;
    /// Of red, green, blue and alpha; luminance and depth are the first. 0: there is none. Of a
    /// compressed format those of its decoded texels, not those that a block keeps.
    std::array<int, 4> bits;
    const Promises* promises;
    Block block = {};

    bool has(std::size_t component) const { return bits[component] != 0; }
    Kind kind_of(std::size_t component) const {
        return kind == Kind::kSrgb && component == 3 ? Kind::kUnorm : kind;
    }
    bool is_integer() const { return kind == Kind::kUint || kind == Kind::kInt; }
    bool is_compressed() const { return block.scheme != Scheme::kNone; }
    bool is_depth() const { return base == Base::kDepth || base == Base::kDepthStencil; }
};

constexpr unsigned kBgra8 = 0x93A1;  // GL_BGRA8_EXT, which has a rule of its own.

const std::vector<Format>& formats();

/// Null for a name that is not in the table.
const Format* find_format(const std::string& name);

// The uses of a format; from kUpload on, how its texels travel.
enum class Use : unsigned char {
    kCreate,
    kCreateStorage,
    kFilter,
    kMipmap,
    kRender,
    kBlend,
    kUpload,
    kUploadPart,
    kUploadPartStorage,
    kUploadBuffer,
    kDefineBuffer,
    kRead,
    kReadPart,
    kReadBuffer,
    kGet,
    kGetBuffer
};

constexpr std::array<Use, 16> kUses = {
    Use::kCreate,       Use::kCreateStorage, Use::kFilter,
    Use::kMipmap,       Use::kRender,        Use::kBlend,
    Use::kUpload,       Use::kUploadPart,    Use::kUploadPartStorage,
    Use::kUploadBuffer, Use::kDefineBuffer,  Use::kRead,
    Use::kReadPart,     Use::kReadBuffer,    Use::kGet,
    Use::kGetBuffer};

inline bool is_transfer(Use use) {
    return use >= Use::kUpload;
}

const char* name_of(Use use);

/// Does this class of formats have the use, in no particular layout? Integers are neither filtered
/// nor blended, and depth is not blended. Transfers are asked layout by layout, see layout_table.h,
/// except those of compressed formats, which have no more than uploads.
bool has_use(const Format& format, Use use);

}  // namespace texprobe::survey

#endif
