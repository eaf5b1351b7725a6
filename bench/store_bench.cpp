// One durable record, compared with the least that this disk needs.

#include <benchmark/benchmark.h>

#include "disk_write.h"
#include "record_sets.h"

namespace {

void synchronize(benchmark::State& state) {
    for (auto _ : state) texprobe::bench::synchronize_one_record();
}
BENCHMARK(synchronize)->UseRealTime();

void write_and_flush(benchmark::State& state) {
    texprobe::bench::DiskWrite write(texprobe::bench::folder_of_executable());
    for (auto _ : state) write();
}
BENCHMARK(write_and_flush)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
