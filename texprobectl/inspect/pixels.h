// Images as OpenGL lays them out in memory, and their channels as numbers.

#ifndef TEXPROBECTL_PIXELS_H
#define TEXPROBECTL_PIXELS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace texprobe::ctl {

/// The tool's images are of one size.
inline constexpr std::size_t kRows = 128;
inline constexpr std::size_t kColumns = 128;
inline constexpr std::size_t kPixels = kRows * kColumns;

/// OpenGL's numbers for the order of a pixel's elements and for their type.
struct Layout {
    unsigned format = 0;
    unsigned type = 0;

    bool operator==(const Layout&) const = default;
};

struct Image {
    Layout layout;
    /// Row by row without gaps, the first row first.
    std::vector<std::uint8_t> bytes;
};

enum class Channel { kRed, kGreen, kBlue, kAlpha, kLuminance };
const char* name_of(Channel channel);

/// Of a layout that the tool uses; none for another.
std::optional<std::vector<Channel>> channels_in_memory(const Layout& layout);
std::size_t bytes_per_pixel(const Layout& layout);
/// Of a packed type, the whole pixel; 0 for a type that the tool does not use.
std::size_t element_size(unsigned type);
/// 255 or 65535, the steps from 0 to 1 of an integer type; none for a float type.
std::optional<unsigned> steps_of(const Layout& layout);

/// One number for each pixel: integers scaled to [0, 1], floats as they are.
using Plane = std::vector<double>;

/// An image's channels in the order red, green, blue, alpha, or luminance, alpha.
struct Planes {
    std::vector<Channel> channels;
    std::vector<Plane> values;

    /// Null for a channel that the image does not have.
    const Plane* find(Channel channel) const;
};

/// Throws std::invalid_argument for a layout that is not known, or too few bytes.
Planes decode(const Image& image, std::size_t pixels = kPixels);

/// OpenGL's result in `layout` for an image that goes through a texture and a quad unchanged:
/// luminance becomes red, green and blue; a missing alpha is 1; values are clamped and
/// rounded to nearest where the layout's type has fewer steps.
Planes expected_in(const Layout& layout, const Planes& sent);
/// The same before values are clamped and rounded.
Planes exact_in(const Layout& layout, const Planes& sent);

}  // namespace texprobe::ctl

#endif
