// The damages that a scripted driver does to an image of 128 by 128 pixels.

#ifndef TEXPROBE_TESTS_DAMAGED_IMAGE_H
#define TEXPROBE_TESTS_DAMAGED_IMAGE_H

#include <string>

namespace texprobe::tests {

/// Damages it by a word; remembers the image, as damaged, for "stale". The words:
///   exchanged  the first and the third element of each pixel
///   rounded    each value is kept at 8 bits
///   zeros      nothing arrives
///   stale      the image that was read before
///   half       nothing arrives from row 64 on
/// Without a word it stays as it is.
void damage_image(const std::string& damage, unsigned format, unsigned type, unsigned char* pixels);

}  // namespace texprobe::tests

#endif
