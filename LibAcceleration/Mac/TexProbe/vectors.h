// Conversion of many elements. The one place that knows processors: the loop is compiled for
// several kinds of vectors, and the widest that this processor has are used. Compiled for just any
// x86-64, conversions from floating point take two to ten times as long.

#ifndef TEXPROBE_VECTORS_H
#define TEXPROBE_VECTORS_H

#include <cstddef>
#include <cstdint>

#include "conversions.h"

namespace {

template <typename Element>
void convert_portably(const Element* elements, std::size_t count, std::uint8_t* bytes) {
    for (std::size_t i = 0; i < count; ++i) bytes[i] = to_8bit(elements[i]);
}

#if defined(__x86_64__) && defined(__GNUC__) && !defined(TEXPROBE_PORTABLE_LOOPS)

// The same loop. Flattened: it becomes part of these functions, and so is compiled for their
// vectors.

template <typename Element>
[[gnu::target("avx2"), gnu::flatten]] void convert_on_avx2(const Element* elements,
                                                           std::size_t count, std::uint8_t* bytes) {
    convert_portably(elements, count, bytes);
}

template <typename Element>
[[gnu::target("avx512bw,avx512vl"), gnu::flatten]] void convert_on_avx512(const Element* elements,
                                                                          std::size_t count,
                                                                          std::uint8_t* bytes) {
    convert_portably(elements, count, bytes);
}

inline bool has_avx2() {
    return __builtin_cpu_supports("avx2");
}

inline bool has_avx512() {
    return __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
}

template <typename Element>
void convert(const Element* elements, std::size_t count, std::uint8_t* bytes) {
    if (has_avx512()) {
        convert_on_avx512(elements, count, bytes);
    } else if (has_avx2()) {
        convert_on_avx2(elements, count, bytes);
    } else {
        convert_portably(elements, count, bytes);
    }
}

#else

template <typename Element>
void convert(const Element* elements, std::size_t count, std::uint8_t* bytes) {
    convert_portably(elements, count, bytes);
}

#endif

}  // namespace

#endif
