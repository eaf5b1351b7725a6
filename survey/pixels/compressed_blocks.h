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

/// An image of such blocks, from that column on; those at the right and upper edge may be cut.
TexelImage block_image(const Format& format, int width, int height, int firstColumn = 0);

/// The bytes of an image of such blocks.
std::vector<unsigned char> blocks_of(const Format& format, const TexelImage& image);

}  // namespace texprobe::survey

#endif
