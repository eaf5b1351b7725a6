// Slow decoders of compressed blocks, which follow the documents step by step, in the modes that
// the survey writes.

#ifndef TEXPROBE_TESTS_DECODED_BLOCKS_H
#define TEXPROBE_TESTS_DECODED_BLOCKS_H

#include <vector>

#include "pixels/texels.h"

namespace texprobe::survey {

/// Sixteen texels of a block, of sRGB as they are encoded. Throws for another mode.
std::vector<Texel> decode_block(const Format& format, const unsigned char* bytes);

}  // namespace texprobe::survey

#endif
