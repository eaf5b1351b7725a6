// Drawing to a texture of the format, and adding to the texels there.

#include "uses/uses.h"

namespace texprobe::survey {

namespace {

constexpr int kDrawnSize = 64;

Finding incomplete(Enum status) {
    constexpr Enum kAttachment = 0x8CD6, kMissing = 0x8CD7, kUnsupported = 0x8CDD;
    const std::string why = status == kUnsupported  ? "unsupported"
                            : status == kAttachment ? "incomplete attachment"
                            : status == kMissing    ? "missing attachment"
                                                    : "status " + std::to_string(status);
    return refused("the framebuffer is incomplete (" + why + ")");
}

/// Draws `images`, one after the other, with blending from the second on; and looks whether
/// `expected` is there.
Finding draw_and_compare(const Work& work, const std::vector<TexelImage>& images,
                         const TexelImage& expected) {
    const Format& format = work.format;
    const Gl& gl = work.gl();
    const Texture texture(gl);
    define_texture(gl, format, kDrawnSize, kDrawnSize, nullptr);
    {
        const Framebuffer framebuffer(gl, format, texture);
        const Enum status = framebuffer.status();
        if (status != gl::kComplete) return incomplete(status);
        if (format.is_depth()) gl.Enable(gl::kDepthTest);
        gl.DepthFunc(gl::kAlways);
        for (const TexelImage& image : images) {
            if (&image != &images.front()) gl.Enable(gl::kBlend);
            work.judge.draw(image, format);
        }
        gl.Disable(gl::kBlend);
        gl.Disable(gl::kDepthTest);
    }
    const Errors errors = take_errors(gl);
    if (!errors.empty()) return with_errors(refused("drawing gives "), errors);
    const TexelImage came = work.judge.look(texture, format, 0, kDrawnSize, kDrawnSize);
    return of_difference(difference_from(format, expected, came));
}

TexelImage pattern_image(const Format& format) {
    return make_image(kDrawnSize, kDrawnSize, [&](int x, int y) { return pattern(format, x, y); });
}

}  // namespace

Finding render(const Work& work) {
    const TexelImage image = pattern_image(work.format);
    Finding finding = draw_and_compare(work, {image}, image);
    if (finding.kind == Finding::Kind::kOtherPixels) finding.promise = "a complete framebuffer";
    return finding;
}

Finding blend(const Work& work) {
    const TexelImage sum = pattern_image(work.format);
    std::vector<TexelImage> parts = {sum, sum};
    for (std::size_t i = 0; i < sum.texels.size(); ++i) {
        const std::array<Texel, 2> both = split(work.format, sum.texels[i]);
        for (const std::size_t part : {0u, 1u}) parts[part].texels[i] = both[part];
    }
    work.gl().BlendFunc(gl::kOne, gl::kOne);
    return draw_and_compare(work, parts, sum);
}

}  // namespace texprobe::survey
