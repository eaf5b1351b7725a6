// The comparisons within one process: the kernels and the store. Prints one tab-separated line for
// each cell and one for the store, for texprobe_bench_table.

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

#include <cstdio>
#include <cstdlib>

#include "cells.h"
#include "disk_write.h"
#include "interleaved.h"
#include "record_sets.h"

namespace {

using namespace texprobe::bench;

volatile std::uint64_t result;

std::function<void()> several(const std::function<std::uint64_t()>& work) {
    constexpr int kTimes = 16;  // Long enough for the clock.
    return [work] {
        for (int i = 0; work && i < kTimes; ++i) result = work();
    };
}

bool is_8bit(const Layout& layout) {
    return layout.type == GL_UNSIGNED_BYTE || layout.type == GL_UNSIGNED_INT_8_8_8_8_REV;
}

void print_cell(const Cell& cell, int rounds) {
    const auto seconds = time_interleaved(
        {several(cell.kernel), several(cell.summing), several(cell.opencv)}, rounds);
    const double opencv = cell.opencv ? seconds[0] / seconds[2] : 0.0;
    std::printf("cell\t%s\t%s\t%s\t%.9f\t%.4f\t%.4f\n", cell.name.c_str(),
                is_8bit(cell.source) ? "8bit" : "other", cell.isDownload ? "same" : "different",
                seconds[0] / 16, seconds[0] / seconds[1], opencv);
}

void print_store(int rounds) {
    DiskWrite write(folder_of_executable());
    synchronize_one_record();
    const auto seconds = time_interleaved({synchronize_one_record, [&] { write(); }}, rounds);
    std::printf("store\t%.9f\t%.9f\n", seconds[0], seconds[1]);
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 51;
    for (const Cell& cell : make_cells()) print_cell(cell, rounds);
    print_store(4 * rounds);
}
