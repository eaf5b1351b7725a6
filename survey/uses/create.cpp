// Textures of the format: with glTexImage2D, and with glTexStorage2D.

#include "pixels/compressed_blocks.h"
#include "uses/uses.h"

namespace texprobe::survey {

namespace {

constexpr int kCreatedSize = 128;

/// The first component of the bound texture that is smaller than the format's, in words. The sizes
/// of compressed components are a driver's estimate; but it must be that format.
std::string smaller_component(const Work& work) {
    const ContextFacts& facts = work.context.facts;
    if (!facts.is_desktop(0) && !facts.is_es(31)) return "";
    if (work.format.is_compressed()) {
        int format = 0;
        work.gl().GetTexLevelParameteriv(gl::kTexture2D, 0, gl::kInternalFormat, &format);
        const bool isThat = static_cast<Enum>(format) == work.format.value;
        return isThat ? "" : "its format is " + std::to_string(format);
    }
    const Base base = work.format.base;
    const auto bitsIf = [&](bool isThere, std::size_t c) {
        return isThere ? work.format.bits[c] : 0;
    };
    const struct {
        const char* component;
        Enum name;
        int bits;
    } queries[] = {{"red", gl::kRedSize, bitsIf(base == Base::kColor, 0)},
                   {"green", gl::kGreenSize, bitsIf(base == Base::kColor, 1)},
                   {"blue", gl::kBlueSize, bitsIf(base == Base::kColor, 2)},
                   {"alpha", gl::kAlphaSize, work.format.bits[3]},
                   // OpenGL ES has no such query.
                   {"luminance", gl::kLuminanceSize,
                    bitsIf(base == Base::kLuminance && facts.profile != Profile::kEs, 0)},
                   {"depth", gl::kDepthSize, bitsIf(work.format.is_depth(), 0)},
                   {"stencil", gl::kStencilSize, base == Base::kDepthStencil ? 8 : 0}};
    for (const auto& [component, name, wanted] : queries) {
        int bits = 0;
        if (wanted != 0) work.gl().GetTexLevelParameteriv(gl::kTexture2D, 0, name, &bits);
        if (bits < wanted) {
            return std::string(component) + " has " + std::to_string(bits) + " bits instead of " +
                   std::to_string(wanted);
        }
    }
    return "";
}

Finding find_created(const Work& work, const char* call) {
    const Errors errors = take_errors(work.gl());
    if (!errors.empty()) return with_errors(refused(std::string(call) + " gives "), errors);
    const std::string smaller = smaller_component(work);
    take_errors(work.gl());
    if (smaller.empty()) return {};
    Finding finding = refused(smaller);
    // Sizes of luminance are wishes, which no document promises.
    finding.isPromised = work.format.base != Base::kLuminance;
    return finding;
}

}  // namespace

Finding create(const Work& work) {
    const Texture texture(work.gl());
    if (!work.format.is_compressed()) {
        define_texture(work.gl(), work.format, kCreatedSize, kCreatedSize, nullptr);
        return find_created(work, "glTexImage2D");
    }
    // No document says that blocks may be left out.
    const TexelImage colors = block_colors(work.format, kCreatedSize, kCreatedSize);
    define_texture(work.gl(), work.format, kCreatedSize, kCreatedSize,
                   blocks_of(work.format, colors).data());
    return find_created(work, "glCompressedTexImage2D");
}

Finding create_storage(const Work& work) {
    const ContextFacts& facts = work.context.facts;
    if (who_promises(facts, "gl4.2 es3.0 GL_ARB_texture_storage").empty()) {
        return refused("the context has no glTexStorage2D");
    }
    const Texture texture(work.gl());
    work.gl().TexStorage2D(gl::kTexture2D, 1, work.format.value, kCreatedSize, kCreatedSize);
    return find_created(work, "glTexStorage2D");
}

}  // namespace texprobe::survey
