// Drawing to a texture of the format, and adding to what is there.

#include "uses/uses.h"

namespace texprobe::survey {

namespace {

constexpr int kDrawnSize = 64;

/// Draws `images`, one after the other, with blending from the second on; and looks whether the
/// pattern is there.
Finding draw_and_compare(const Work& work, const std::vector<Image>& images) {
    const Format& format = work.format;
    const Gl& gl = work.gl();
    const Texture texture(gl);
    define(work, kDrawnSize, kDrawnSize, nullptr);
    {
        const Framebuffer framebuffer(gl, attachment_of(format), texture);
        const Enum status = framebuffer.status();
        if (status != gl::kComplete) return incomplete(status);
        if (format.is_depth()) gl.Enable(gl::kDepthTest);
        gl.DepthFunc(gl::kAlways);
        for (const Image& image : images) {
            if (&image != &images.front()) gl.Enable(gl::kBlend);
            work.judge.draw(image, numbers_of(format), format.is_depth());
        }
        gl.Disable(gl::kBlend);
        gl.Disable(gl::kDepthTest);
    }
    const std::string errors = take_errors(gl);
    if (!errors.empty()) return refused("drawing gives " + errors);
    const Image came = work.judge.look(texture, numbers_of(format), 0, kDrawnSize, kDrawnSize);
    const Image expected = make_image(kDrawnSize, kDrawnSize, [&](int x, int y) {
        return as_sampled(format, pattern(format, x, y));
    });
    const std::string difference = first_difference(
        format, expected, came,
        [&](std::size_t c, int x, int y) { return tolerance(format, c, expected.at(x, y)); });
    return difference.empty() ? Finding{} : other_pixels(difference);
}

}  // namespace

Finding render(const Work& work) {
    const Image image = make_image(kDrawnSize, kDrawnSize,
                                   [&](int x, int y) { return pattern(work.format, x, y); });
    Finding finding = draw_and_compare(work, {image});
    if (finding.kind == Finding::Kind::kOtherPixels) finding.promise = "a complete framebuffer";
    return finding;
}

Finding blend(const Work& work) {
    const auto part = [&](std::size_t index) {
        return make_image(kDrawnSize, kDrawnSize, [&](int x, int y) {
            return split(work.format, pattern(work.format, x, y))[index];
        });
    };
    work.gl().BlendFunc(gl::kOne, gl::kOne);
    return draw_and_compare(work, {part(0), part(1)});
}

}  // namespace texprobe::survey
