// Converts every float and compares it with the slow conversion. The test suite only takes a
// sample.

#include <cinttypes>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "measuring/conversions.h"
#include "measuring/vectors.h"
#include "support/slow_distance.h"

namespace texprobe {
namespace {

struct CheckedConversion {
    const char* name;
    void (*convert)(const float* elements, std::size_t count, std::uint8_t* bytes);
};

/// The conversions that this processor can run.
std::vector<CheckedConversion> conversions() {
    std::vector<CheckedConversion> all = {{"portable", convert}};
#ifdef TEXPROBE_X86_VECTORS
    if (has_avx2()) all.push_back({"AVX2", call_on_avx2<convert<float>>});
    if (has_avx512()) all.push_back({"AVX-512", call_on_avx512<convert<float>>});
#endif
    return all;
}

}  // namespace
}  // namespace texprobe

int main() {
    constexpr std::size_t kCount = 1 << 16;
    std::vector<float> floats(kCount);
    std::vector<std::uint8_t> expected(kCount);
    std::vector<std::uint8_t> converted(kCount);
    for (std::uint32_t high = 0; high < 1 << 16; ++high) {
        for (std::uint32_t low = 0; low < kCount; ++low) {
            const std::uint32_t bits = (high << 16) | low;
            std::memcpy(&floats[low], &bits, sizeof bits);
            expected[low] =
                static_cast<std::uint8_t>(texprobe::tests::slow_float_to_8bit(floats[low]));
        }
        for (const texprobe::CheckedConversion& conversion : texprobe::conversions()) {
            conversion.convert(floats.data(), kCount, converted.data());
            for (std::uint32_t low = 0; low < kCount; ++low) {
                if (converted[low] == expected[low]) continue;
                std::printf("%s: %08" PRIx32 " gives %d instead of %d\n", conversion.name,
                            (high << 16) | low, converted[low], expected[low]);
                return 1;
            }
        }
    }
    for (const texprobe::CheckedConversion& conversion : texprobe::conversions()) {
        std::printf("%s: as expected for all 2^32 floats\n", conversion.name);
    }
}
