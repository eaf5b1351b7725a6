// Texels as the bytes that travel.

#ifndef TEXPROBE_SURVEY_TEXEL_BYTES_H
#define TEXPROBE_SURVEY_TEXEL_BYTES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "pixels/texels.h"
#include "table/layout_table.h"

namespace texprobe::survey {

/// The layout that every API accepts for the format, and that loses nothing.
Layout plain_layout(const Format& format);

/// One texel of the format in a layout, which is looked up once for many texels.
class TexelCodec {
public:
    /// The format must outlive the object.
    TexelCodec(const Format& format, const Layout& layout);

    /// In bytes.
    std::size_t texel_size() const { return size_; }
    /// How many bits the layout has for the component; 0 where it has none.
    int bits_of(std::size_t component) const { return bits_[component]; }

    /// Adds the texel, which is in the format's own scale, rounded to the values of the layout.
    void append_texel(const Texel& texel, std::vector<unsigned char>* bytes) const;
    /// The texel in the format's own scale; components that the layout lacks are those of
    /// as_sampled().
    Texel read_texel(const unsigned char* bytes) const;

private:
    std::uint32_t packed_word(const Texel& texel) const;

    const Format& format_;
    const LayoutFormat& order_;
    const LayoutType& type_;
    std::size_t places_;
    std::size_t size_ = 0;
    std::array<int, 4> bits_ = {};
};

/// The image in that layout, rows without gaps.
std::vector<unsigned char> bytes_of(const Format& format, const Layout& layout,
                                    const TexelImage& image);

}  // namespace texprobe::survey

#endif
