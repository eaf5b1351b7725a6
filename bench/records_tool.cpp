// Changes the records beside this executable, for texprobe_bench_growth.
// Usage: records_tool add COUNT | records_tool synchronize ROUNDS

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "interleaved.h"
#include "record_sets.h"

int main(int argc, char** argv) {
    using namespace texprobe::bench;
    if (argc != 3) return 1;
    const int count = std::atoi(argv[2]);
    if (std::strcmp(argv[1], "add") == 0) {
        add_record_sets(count, 1, {"another vendor", "another version", "another renderer"});
    } else {
        synchronize_one_record();
        std::printf("%.9f\n", time_interleaved({synchronize_one_record}, count)[0]);
    }
}
