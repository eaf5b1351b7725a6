// Textures of the format: with glTexImage2D, and with glTexStorage2D.

#include "uses/uses.h"

namespace texprobe::survey {

namespace {

constexpr int kCreatedSize = 128;

struct SizeQuery {
    const char* component;
    Enum name;
    int bits;
};

std::vector<SizeQuery> size_queries(const Format& format) {
    const std::array<int, 4>& bits = format.bits;
    switch (format.base) {
        case Base::kLuminance:
            return {{"luminance", gl::kLuminanceSize, bits[0]}, {"alpha", gl::kAlphaSize, bits[3]}};
        case Base::kDepth:
            return {{"depth", gl::kDepthSize, bits[0]}};
        case Base::kDepthStencil:
            return {{"depth", gl::kDepthSize, bits[0]}, {"stencil", gl::kStencilSize, 8}};
        default:
            return {{"red", gl::kRedSize, bits[0]},
                    {"green", gl::kGreenSize, bits[1]},
                    {"blue", gl::kBlueSize, bits[2]},
                    {"alpha", gl::kAlphaSize, bits[3]}};
    }
}

/// The first component of the bound texture that is smaller than the format's, in words.
std::string smaller_component(const Work& work) {
    const ContextFacts& facts = work.context.facts;
    if (!facts.is_desktop(0) && !facts.is_es(31)) return "";
    for (const SizeQuery& query : size_queries(work.format)) {
        int bits = 0;
        work.gl().GetTexLevelParameteriv(gl::kTexture2D, 0, query.name, &bits);
        if (bits < query.bits) {
            return std::string(query.component) + " has " + std::to_string(bits) +
                   " bits instead of " + std::to_string(query.bits);
        }
    }
    return "";
}

Finding find_created(const Work& work, const char* call) {
    const std::string errors = take_errors(work.gl());
    if (!errors.empty()) return refused(std::string(call) + " gives " + errors);
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
    define(work, kCreatedSize, kCreatedSize, nullptr);
    return find_created(work, "glTexImage2D");
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
