// Texels as the bytes that travel.

#ifndef TEXPROBE_SURVEY_TEXEL_BYTES_H
#define TEXPROBE_SURVEY_TEXEL_BYTES_H

#include <vector>

#include "pixels/texels.h"
#include "table/layout_table.h"

namespace texprobe::survey {

/// The layout that every API accepts for the format, and that loses nothing.
Layout plain_layout(const Format& format);

/// Of one texel.
std::size_t texel_size(const Layout& layout);
/// How many bits the layout has for the component; 0 where it has none.
int bits_in(const Layout& layout, std::size_t component);

/// Adds the texel, which is in the format's own scale, rounded to what the layout holds.
void append_texel(const Format& format, const Layout& layout, const Texel& texel,
                  std::vector<unsigned char>* bytes);
/// The texel in the format's own scale; what the layout does not have is as as_sampled() has it.
Texel read_texel(const Format& format, const Layout& layout, const unsigned char* bytes);

/// The image in that layout, rows without gaps.
std::vector<unsigned char> bytes_of(const Format& format, const Layout& layout,
                                    const TexelImage& image);

}  // namespace texprobe::survey

#endif
