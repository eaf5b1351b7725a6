// Texels as the bytes that an application sends.

#ifndef TEXPROBE_SURVEY_TEXEL_BYTES_H
#define TEXPROBE_SURVEY_TEXEL_BYTES_H

#include <vector>

#include "pixels/texels.h"

namespace texprobe::survey {

/// How texels travel: OpenGL's format and type.
struct TexelLayout {
    unsigned format;
    unsigned type;
};

/// The pair that every API accepts for the format, and that loses nothing.
TexelLayout plain_layout(const Format& format);

/// The image in that layout, rows without gaps. Values are in the format's own scale.
std::vector<unsigned char> bytes_of(const Format& format, const TexelLayout& layout,
                                    const TexelImage& image);

}  // namespace texprobe::survey

#endif
