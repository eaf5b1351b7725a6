// What texprobe costs as records, displays and renderers grow in number. Most machines have one
// real renderer, so more of them, and more displays, are scripted; the records are real.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "interleaved.h"
#include "process.h"
#include "program_folder.h"

namespace {

using namespace texprobe::bench;
namespace fs = std::filesystem;

constexpr int kRounds = 15;

double milliseconds_of(const std::vector<std::string>& command) {
    std::vector<double> times;
    for (int i = 0; i < kRounds; ++i) times.push_back(run_process(command).seconds * 1e3);
    return median(times);
}

/// The last number that the command prints, in milliseconds.
double milliseconds_printed_by(const std::vector<std::string>& command) {
    std::vector<double> times;
    for (int i = 0; i < kRounds; ++i) {
        const std::string output = run_process(command).output;
        const std::size_t space = output.rfind(' ');
        const std::string last = space == std::string::npos ? output : output.substr(space);
        times.push_back(std::strtod(last.c_str(), nullptr) * 1e3);
    }
    return median(times);
}

void print_growth_with_record_sets(const fs::path& programs) {
    const ProgramFolder folder(programs, {programs / "texprobe_for_bench", programs / "client",
                                          programs / "records_tool"});
    const std::string tool = folder / "texprobe_for_bench";
    std::printf("record sets | second run, ms | construction, ms | synchronize, ms | store, KiB\n");
    int sets = 0;
    for (const int wanted : {1, 10, 100, 1000}) {
        // The last set is the machine's own.
        run_process({folder / "records_tool", "add", std::to_string(wanted - 1 - sets)});
        sets = wanted - 1;
        run_process({tool});
        std::printf(
            "%11d | %14.2f | %16.3f | %15.2f | %10lu\n", wanted, milliseconds_of({tool}),
            milliseconds_printed_by({folder / "client", tool}),
            milliseconds_printed_by({folder / "records_tool", "synchronize", "15"}),
            static_cast<unsigned long>(fs::file_size(folder / "records/records.sqlite3") / 1024));
    }
}

void print_growth_with_displays(const fs::path& programs) {
    const ProgramFolder folder(programs, {programs / "texprobe_with_displays"});
    const std::string tool = folder / "texprobe_with_displays";
    std::printf("\ndisplays | first run, ms | second run, ms\n");
    for (const int displays : {1, 2, 4, 8, 16, 32}) {
        setenv("TEXPROBE_BENCH_DISPLAYS", std::to_string(displays).c_str(), 1);
        std::vector<double> times;
        for (int i = 0; i < 5; ++i) {
            folder.remove_records();
            times.push_back(run_process({tool}).seconds * 1e3);
        }
        std::printf("%8d | %13.1f | %14.1f\n", displays, median(times), milliseconds_of({tool}));
    }
}

void print_growth_with_renderers(const fs::path& programs) {
    const ProgramFolder folder(programs, {programs / "client_with_renderers"});
    const std::string client = folder / "client_with_renderers";
    std::printf("\nrenderers | construction, ms | verdicts' open, ms\n");
    for (const int renderers : {1, 2, 4, 8, 16, 32}) {
        setenv("TEXPROBE_BENCH_RENDERERS", std::to_string(renderers).c_str(), 1);
        folder.remove_records();
        run_process({client, "prepare"});
        std::printf("%9d | %16.3f | %18.3f\n", renderers,
                    milliseconds_printed_by({client, "construct"}),
                    milliseconds_printed_by({client, "open"}));
    }
}

}  // namespace

int main() {
    const fs::path programs = fs::read_symlink("/proc/self/exe").parent_path();
    print_growth_with_record_sets(programs);
    print_growth_with_displays(programs);
    print_growth_with_renderers(programs);
}
