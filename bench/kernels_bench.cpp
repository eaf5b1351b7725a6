// The comparison's kernels against a summing pass and OpenCV, the conversions, and the pattern.

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "cells.h"
#include "measuring/distance.h"
#include "measuring/pattern.h"

namespace texprobe::bench {

namespace {

void register_work(const std::string& name, const std::function<std::uint64_t()>& work,
                   std::size_t bytes) {
    if (!work) return;
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        for (auto _ : state) benchmark::DoNotOptimize(work());
        state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
    });
}

void register_cells() {
    for (const Cell& cell : make_cells()) {
        register_work("kernel/" + cell.name, cell.kernel, cell.bytes);
        register_work("summing/" + cell.name, cell.summing, cell.bytes);
        register_work("opencv/" + cell.name, cell.opencv, cell.bytes);
    }
}

template <typename Element>
void convert(benchmark::State& state) {
    std::vector<Element> elements(kImagePixels);
    test_fill_data(elements.data(), elements.size() * sizeof(Element), GL_UNSIGNED_BYTE);
    std::vector<std::uint8_t> bytes(kImagePixels);
    for (auto _ : state) {
        on_8bit_scale(elements.data(), elements.size(), bytes.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(kImagePixels) * state.iterations());
}

BENCHMARK(convert<std::uint16_t>);
BENCHMARK(convert<QORFloat16>);
BENCHMARK(convert<float>);

void fill_pattern(benchmark::State& state, unsigned type) {
    std::vector<std::uint8_t> image(kImagePixels * 4);
    for (auto _ : state) {
        test_fill_data(image.data(), image.size(), type);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(image.size()) * state.iterations());
}

BENCHMARK_CAPTURE(fill_pattern, integers, GL_UNSIGNED_BYTE);
BENCHMARK_CAPTURE(fill_pattern, halves, GL_HALF_FLOAT_ARB);
BENCHMARK_CAPTURE(fill_pattern, floats, GL_FLOAT);

}  // namespace

}  // namespace texprobe::bench

int main(int argc, char** argv) {
    texprobe::bench::register_cells();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
