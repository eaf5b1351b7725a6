// Where the time of a first run, a second run and a construction goes: the medians of fresh
// processes, and each phase's share.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "interleaved.h"
#include "phases.h"
#include "process.h"
#include "program_folder.h"

namespace {

using namespace texprobe::bench;
namespace fs = std::filesystem;

constexpr int kRounds = 15;

using Phases = std::vector<std::pair<std::string, std::vector<double>>>;

void add_phase(Phases* phases, const std::string& name, double seconds) {
    const auto isNamed = [&](const auto& phase) { return phase.first == name; };
    auto phase = std::find_if(phases->begin(), phases->end(), isNamed);
    if (phase == phases->end()) phase = phases->insert(phase, {name, {}});
    phase->second.push_back(seconds);
}

/// One process's phases, and the part of its time that is in none of them.
void add_run(Phases* phases, const ProcessRun& run, bool isWholeProcess) {
    std::istringstream lines(run.output);
    double rest = run.seconds;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t tab = line.find('\t');
        const std::string name = line.substr(0, tab);
        const double seconds = std::strtod(line.c_str() + tab, nullptr);
        if (name != kNotInARun) add_phase(phases, name, seconds);
        rest -= seconds;
    }
    if (isWholeProcess) add_phase(phases, "start and end of the process", rest);
}

void print(const char* title, const Phases& phases) {
    double total = 0.0;
    for (const auto& phase : phases) total += median(phase.second);
    std::printf("\n%-34s %9s %7s\n", title, "ms", "share");
    for (const auto& phase : phases) {
        const double seconds = median(phase.second);
        std::printf("%-34s %9.3f %6.1f%%\n", phase.first.c_str(), seconds * 1e3,
                    100 * seconds / total);
    }
}

}  // namespace

int main() {
    const fs::path programs = fs::read_symlink("/proc/self/exe").parent_path();
    const ProgramFolder folder(programs, {programs / "phases"});
    Phases first, second, client;
    for (int round = 0; round < kRounds; ++round) {
        folder.remove_records();
        add_run(&first, run_process({folder / "phases", "first"}), true);
        add_run(&second, run_process({folder / "phases", "second"}), true);
        add_run(&client, run_process({folder / "phases", "client"}), false);
    }
    print("a first run", first);
    print("a second run", second);
    print("a construction", client);
}
