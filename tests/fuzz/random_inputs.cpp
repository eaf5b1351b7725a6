// Replaces libFuzzer if the compiler has none: runs a target on reproducible random inputs.
// Usage: TARGET -runs=N -seed=N

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    unsigned long runs = 20000;
    unsigned long seed = 1;
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "-runs=", 6) == 0) runs = std::strtoul(argv[i] + 6, nullptr, 10);
        if (std::strncmp(argv[i], "-seed=", 6) == 0) seed = std::strtoul(argv[i] + 6, nullptr, 10);
    }
    std::mt19937_64 random(seed);
    // Extreme bytes and those of plain text find more than others.
    const unsigned char likely[] = "\"\\:/ \n0129aGNU\x7f\xff";
    for (unsigned long run = 0; run < runs; ++run) {
        std::vector<std::uint8_t> input(random() % 512);
        for (std::uint8_t& byte : input) {
            byte = static_cast<std::uint8_t>(random() % 2 ? random()
                                                          : likely[random() % sizeof likely]);
        }
        LLVMFuzzerTestOneInput(input.data(), input.size());
    }
    std::printf("%lu runs, seed %lu\n", runs, seed);
    return 0;
}
