// The 32-bit FNV-1a hash: short names for long descriptions, the same on every machine.

#ifndef TEXPROBE_PLATFORM_FNV1A_H
#define TEXPROBE_PLATFORM_FNV1A_H

#include <cstdint>
#include <string_view>

namespace texprobe::platform {

constexpr std::uint32_t fnv1a(std::string_view text) {
    std::uint32_t hash = 2166136261u;
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
    return hash;
}

}  // namespace texprobe::platform

#endif
