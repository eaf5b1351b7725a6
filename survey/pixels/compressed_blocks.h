// Blocks of compressed formats in which all texels have one color.

#ifndef TEXPROBE_SURVEY_COMPRESSED_BLOCKS_H
#define TEXPROBE_SURVEY_COMPRESSED_BLOCKS_H

#include <vector>

#include "pixels/texels.h"

namespace texprobe::survey {

/// How many blocks cover that many texels.
inline int blocks_across(const Format& format, int texels) {
    return (texels + format.block.side - 1) / format.block.side;
}

/// The nearest color of a block. Where alpha has one bit, transparent is black.
Texel quantize_block(const Format& format, const Texel& texel);

/// A color that a block holds, for the block at that place among others. 32 x 32 blocks have every
/// value of components of eight bits.
Texel block_pattern(const Format& format, int column, int row);

/// The colors of the blocks of an image of that size, from that column on.
TexelImage block_colors(const Format& format, int width, int height, int firstColumn = 0);

/// Those of an image of blocks of one color each.
TexelImage block_colors(const Format& format, const TexelImage& image);

/// The bytes of blocks of these colors.
std::vector<unsigned char> blocks_of(const Format& format, const TexelImage& colors);

}  // namespace texprobe::survey

#endif
