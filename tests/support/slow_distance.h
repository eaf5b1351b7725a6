// The comparison again, written literally and slowly, to check the product's. Shares no code with
// it.

#ifndef TEXPROBE_TESTS_SLOW_DISTANCE_H
#define TEXPROBE_TESTS_SLOW_DISTANCE_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace texprobe::tests {

constexpr std::uint64_t kAllOnes = 0xFFFFFFFFFFFFFFFFu;

// OpenGL's pixel types and one of its layouts.
constexpr unsigned kByte = 0x1401;
constexpr unsigned kShort = 0x1403;
constexpr unsigned kFloat = 0x1406;
constexpr unsigned kHalf = 0x140B;
constexpr unsigned kRGBA = 0x1908;

int slow_half_to_8bit(std::uint16_t half);
int slow_float_to_8bit(float value);

/// Bytes of one element of a pixel type; 0 for a type that is not compared.
std::size_t element_size(unsigned type);

/// Elements per pixel of a layout code; 0 for an unknown one.
std::size_t elements_per_pixel(unsigned format);

/// All elements of an image of `type` on the 8-bit scale.
std::vector<int> slow_8bit_elements(const void* data, std::size_t count, unsigned type);

/// The distance of two images on the 8-bit scale, for the layouts and types that they had.
std::uint64_t slow_distance(const std::vector<int>& source, unsigned sourceFormat,
                            unsigned sourceType, const std::vector<int>& readBack,
                            unsigned readFormat, unsigned readType);

}  // namespace texprobe::tests

#endif
