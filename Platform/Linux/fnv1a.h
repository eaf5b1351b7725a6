// The 32-bit FNV-1a hash: short names for long descriptions, the same on every machine.

#ifndef TEXPROBE_PLATFORM_FNV1A_H
#define TEXPROBE_PLATFORM_FNV1A_H

#include <cstdint>
#include <string_view>

namespace texprobe::platform {

class Fnv1a {
public:
    void add(std::string_view text) {
        for (const char c : text) hash_ = (hash_ ^ static_cast<unsigned char>(c)) * 16777619u;
    }
    std::uint32_t hash() const { return hash_; }

private:
    std::uint32_t hash_ = 2166136261u;
};

}  // namespace texprobe::platform

#endif
