// Prints texprobe's speed and memory as ratios to their baselines, and writes them as JSON. Usage:
// texprobe_bench_table [--rounds N] [--json FILE] [--before FOLDER]
// FOLDER is bench/ of another version's build: what users feel is then measured for both versions
// in the same rounds.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "interleaved.h"
#include "process.h"
#include "program_folder.h"
#include "rows.h"
#include "survey_rows.h"

namespace {

using namespace texprobe::bench;
namespace fs = std::filesystem;

struct Cell {
    std::string name;
    bool is8bit;
    bool isSameLayout;
    double microseconds;
    double toSumming;
    double toOpenCV;  // 0: OpenCV is not installed.
};

std::vector<std::vector<std::string>> tab_separated(const std::string& text) {
    std::vector<std::vector<std::string>> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.emplace_back();
        std::istringstream fields(line);
        for (std::string field; std::getline(fields, field, '\t');) lines.back().push_back(field);
    }
    return lines;
}

double number(const std::string& text) {
    return std::strtod(text.c_str(), nullptr);
}

/// The cells of the kernels, and the row of the store.
std::vector<Cell> measure_inside(const fs::path& folder, int rounds, std::vector<Row>* rows) {
    std::vector<Cell> cells;
    const auto run = run_process({folder / "inside", std::to_string(2 * rounds + 1)});
    for (const auto& fields : tab_separated(run.output)) {
        if (fields[0] == "cell") {
            cells.push_back({fields[1], fields[2] == "8bit", fields[3] == "same",
                             number(fields[4]) * 1e6, number(fields[5]), number(fields[6])});
        } else {
            rows->push_back(row_of("one synchronize of one record : pwrite + fdatasync",
                                   number(fields[1]) * 1e6, number(fields[2]) * 1e6, "us", 3.0));
        }
    }
    return cells;
}

/// The cell that is worst relative to its aim.
void add_worst(const char* what, const std::vector<Cell>& cells, double aim,
               const std::function<double(const Cell&)>& ratio, std::vector<Row>* rows) {
    const auto worst =
        std::max_element(cells.begin(), cells.end(),
                         [&](const Cell& a, const Cell& b) { return ratio(a) < ratio(b); });
    if (ratio(*worst) <= 0.0) {
        std::printf("%s: OpenCV is not installed\n", what);
        return;
    }
    rows->push_back({std::string(what) + ", worst: " + worst->name, worst->microseconds,
                     worst->microseconds / ratio(*worst), "us", ratio(*worst), aim});
}

void add_kernels(const std::vector<Cell>& cells, std::vector<Row>* rows) {
    add_worst(
        "8-bit kernels : OpenCV", cells, 1.0,
        [](const Cell& cell) { return cell.is8bit ? cell.toOpenCV : 0.0; }, rows);
    add_worst(
        "16-bit, half and float kernels : OpenCV", cells, 1.0,
        [](const Cell& cell) { return cell.is8bit ? 0.0 : cell.toOpenCV; }, rows);
    add_worst(
        "8-bit same-layout kernels : summing pass", cells, 2.0,
        [](const Cell& cell) { return cell.is8bit && cell.isSameLayout ? cell.toSumming : 0.0; },
        rows);
}

/// One version's runs, as its users feel them.
struct Version {
    Runs first, second;
    std::vector<double> contextMilliseconds;
    std::vector<double> constructionMilliseconds;
    std::vector<double> constructionMiB;
    std::vector<double> synchronizeMicroseconds;

    void add_client(const ProcessRun& run) {
        std::istringstream times(run.output);
        double context = 0.0;
        double construction = 0.0;
        double growth = 0.0;
        times >> context >> construction >> growth;
        constructionMiB.push_back(growth);
        contextMilliseconds.push_back(context * 1e3);
        constructionMilliseconds.push_back(construction * 1e3);
    }
};

using Steps = std::vector<std::function<void()>>;

/// The programs of one version, with records on the disk of `parent`.
class Programs {
public:
    Programs(const fs::path& parent, const fs::path& build)
        : onDisk_(parent, {build / "texprobe_for_bench"}),
          application_(parent, {build / "client", build / "texprobe_for_bench"}),
          store_(parent, {build / "records_tool"}) {
        run_process({tool()});
    }

    void add_steps(Version* version, Steps* steps) const {
        steps->push_back([this, version] {
            onDisk_.remove_records();
            version->first.add(run_process({onDisk_ / "texprobe_for_bench"}));
        });
        steps->push_back([this, version] { version->second.add(run_process({tool()})); });
        steps->push_back([this, version] {
            version->add_client(run_process({application_ / "client", tool()}));
        });
        steps->push_back([this, version] {
            const ProcessRun run = run_process({store_ / "records_tool", "synchronize", "21"});
            version->synchronizeMicroseconds.push_back(number(run.output) * 1e6);
        });
    }

private:
    std::string tool() const { return application_ / "texprobe_for_bench"; }

    ProgramFolder onDisk_, application_, store_;
};

/// For how long texprobe_verdicts_open() holds an application's thread.
struct OpenTimes {
    struct Opens {
        std::vector<double> milliseconds, mebibytes;
    };
    Opens recorded, core, unrecorded, withoutTool;
};

/// An application that asks in the second way, with and without records.
class VerdictsClients {
public:
    explicit VerdictsClients(const fs::path& folder)
        : recorded_(folder, {folder / "client_of_verdicts", folder / "texprobe_for_bench",
                             folder / "texprobe_survey_for_bench"}),
          unrecorded_(folder, {folder / "client_of_verdicts", folder / "texprobe_for_bench"}) {
        run_process({recorded_ / "texprobe_for_bench"});
        run_process({recorded_ / "texprobe_survey_for_bench"});
    }

    void add_steps(OpenTimes* times, Steps* steps) const {
        steps->push_back(
            [this, times] { add(&times->recorded, recorded_, kMissingTool, "recorded"); });
        steps->push_back([this, times] { add(&times->core, recorded_, kMissingTool, "core"); });
        steps->push_back([this, times] {
            // The run before has measured until it was closed.
            unrecorded_.remove_records();
            add(&times->unrecorded, unrecorded_, unrecorded_ / "texprobe_for_bench", "unrecorded");
        });
        steps->push_back([this, times] {
            unrecorded_.remove_records();
            add(&times->withoutTool, unrecorded_, kMissingTool, "unrecorded");
        });
    }

private:
    static constexpr char kMissingTool[] = "/no/such/tool";

    static void add(OpenTimes::Opens* opens, const ProgramFolder& folder, const std::string& tool,
                    const char* what) {
        std::istringstream words(run_process({folder / "client_of_verdicts", tool, what}).output);
        double seconds = 0.0;
        double growth = 0.0;
        words >> seconds >> growth;
        opens->milliseconds.push_back(seconds * 1e3);
        opens->mebibytes.push_back(growth);
    }

    ProgramFolder recorded_, unrecorded_;
};

/// All runs of whole processes.
struct Processes {
    Version present, before;
    OpenTimes open;
    Runs firstInMemory, firstWithoutShaders, bare, bareWithWrites, floor, eglinfo;
};

Processes run_processes(const fs::path& folder, const fs::path& before, int rounds) {
    const Programs programs(folder, folder);
    const VerdictsClients clients(folder);
    std::optional<Programs> programsBefore;
    if (!before.empty()) programsBefore.emplace(folder, before);
    const ProgramFolder inMemory("/dev/shm", {folder / "texprobe_for_bench"});
    const ProgramFolder onDisk(folder, {folder / "texprobe_for_bench"});

    Processes all;
    const auto bareMeasurement = folder / "bare_measurement";
    Steps steps = {
        [&] {
            inMemory.remove_records();
            all.firstInMemory.add(run_process({inMemory / "texprobe_for_bench"}));
        },
        [&] {
            onDisk.remove_records();
            all.firstWithoutShaders.add(
                run_without_shaders(onDisk / "texprobe_for_bench", onDisk / "shaders"));
        },
        [&] { all.bare.add(run_process({bareMeasurement})); },
        [&] {
            all.bareWithWrites.add(run_process({bareMeasurement, onDisk / ""}));
        },
        [&] { all.floor.add(run_process({folder / "floor_measurement"})); },
        // eglinfo fails if one of the window systems is missing.
        [&] {
            all.eglinfo.add(run_foreign_process({"eglinfo", "-B"}));
        },
    };
    programs.add_steps(&all.present, &steps);
    clients.add_steps(&all.open, &steps);
    if (programsBefore) programsBefore->add_steps(&all.before, &steps);
    std::mt19937 random;
    for (int round = 0; round < rounds; ++round) {
        // The order changes, because the program before may have left the disk busy.
        std::shuffle(steps.begin(), steps.end(), random);
        for (const auto& step : steps) step();
    }
    return all;
}

void add_open(const Processes& all, std::vector<Row>* rows) {
    const double construction = median(all.present.constructionMilliseconds);
    const double growth = median(all.present.constructionMiB);
    const auto add = [&](const char* what, const OpenTimes::Opens& opens, double aim = 1.1) {
        rows->push_back(row_of(what, median(opens.milliseconds), construction, "ms", aim));
    };
    const auto addMemory = [&](const char* what, const OpenTimes::Opens& opens) {
        rows->push_back(row_of(what, median(opens.mebibytes), growth, "MiB", 1.2));
    };
    add("verdicts' open, recorded : client construction", all.open.recorded);
    addMemory("verdicts' open, recorded, memory : client construction", all.open.recorded);
    add("verdicts' open, core, recorded : client construction", all.open.core, 1.2);
    addMemory("verdicts' open, core, recorded, memory : client construction", all.open.core);
    add("verdicts' open, nothing recorded : client construction", all.open.unrecorded);
    add("verdicts' open, no records and no tool : client construction", all.open.withoutTool);
}

/// This version against another one.
void add_before(const Version& present, const Version& before, std::vector<Row>* rows) {
    rows->push_back(time_row("first run : before", present.first, before.first, 0.0));
    rows->push_back(time_row("second run : before", present.second, before.second, 0.0));
    rows->push_back(row_of("client construction : before", median(present.constructionMilliseconds),
                           median(before.constructionMilliseconds), "ms", 0.0));
    rows->push_back(row_of("one synchronize of one record : before",
                           median(present.synchronizeMicroseconds),
                           median(before.synchronizeMicroseconds), "us", 0.0));
}

void measure_processes(const fs::path& folder, const fs::path& before, int rounds,
                       std::vector<Row>* rows) {
    const Processes all = run_processes(folder, before, rounds);
    const Version& present = all.present;
    rows->push_back(
        time_row("whole first run : bare measurement with a disk write before each test",
                 present.first, all.bareWithWrites, 1.12));
    rows->push_back(time_row("second run : eglinfo -B", present.second, all.eglinfo, 1.10));
    rows->push_back(row_of("client construction : creating the application's context",
                           median(present.constructionMilliseconds),
                           median(present.contextMilliseconds), "ms", 0.03));
    add_open(all, rows);
    rows->push_back(row_of("peak memory of a first run : bare measurement",
                           median(present.first.peakMiB), median(all.bare.peakMiB), "MiB", 1.05));
    rows->push_back(time_row("whole first run : bare measurement", present.first, all.bare, 0.0));
    rows->push_back(time_row("whole first run : floor", present.first, all.floor, 0.0));
    rows->push_back(time_row("first run without compiled shaders : with them",
                             all.firstWithoutShaders, present.first, 0.0));
    rows->push_back(time_row("first run, records in memory : bare measurement", all.firstInMemory,
                             all.bare, 0.0));
    rows->push_back(cpu_row("processor time, first run in memory : bare measurement",
                            all.firstInMemory, all.bare));
    rows->push_back(
        cpu_row("processor time, second run : eglinfo -B", present.second, all.eglinfo));
    if (!before.empty()) add_before(present, all.before, rows);
}

void print_cells(const std::vector<Cell>& cells) {
    std::printf("%-30s %10s %12s %10s\n", "kernel", "us", ": summing", ": OpenCV");
    for (const Cell& cell : cells) {
        std::printf("%-30s %10.2f %12.2f %10.2f\n", cell.name.c_str(), cell.microseconds,
                    cell.toSumming, cell.toOpenCV);
    }
}

void print_rows(const std::vector<Row>& rows) {
    std::printf("\n%-72s %9s %9s %4s %7s %6s\n", "costs : compared with", "measured", "against", "",
                "ratio", "aim");
    for (const Row& row : rows) {
        std::printf("%-72s %9.2f %9.2f %4s %7.3f ", row.what.c_str(), row.subject, row.baseline,
                    row.unit, row.ratio);
        if (row.aim > 0) {
            std::printf("%6.2f %s\n", row.aim, row.ratio <= row.aim ? "" : "missed");
        } else {
            std::printf("%6s\n", "-");
        }
    }
}

void write_json(const std::string& path, const std::vector<Row>& rows,
                const std::vector<Cell>& cells) {
    std::FILE* file = std::fopen(path.c_str(), "w");
    if (!file) {
        std::perror(path.c_str());
        std::exit(1);
    }
    std::fputs("{\n  \"rows\": [", file);
    const char* separator = "\n";
    for (const Row& row : rows) {
        std::fprintf(file,
                     "%s    {\"what\": \"%s\", \"measured\": %.6g, \"against\": %.6g, "
                     "\"unit\": \"%s\", \"ratio\": %.4g, \"aim\": %.4g}",
                     separator, row.what.c_str(), row.subject, row.baseline, row.unit, row.ratio,
                     row.aim);
        separator = ",\n";
    }
    std::fputs("\n  ],\n  \"kernels\": [", file);
    separator = "\n";
    for (const Cell& cell : cells) {
        std::fprintf(file,
                     "%s    {\"kernel\": \"%s\", \"us\": %.6g, \"to_summing\": %.4g, "
                     "\"to_opencv\": %.4g}",
                     separator, cell.name.c_str(), cell.microseconds, cell.toSumming,
                     cell.toOpenCV);
        separator = ",\n";
    }
    std::fputs("\n  ]\n}\n", file);
    std::fclose(file);
}

}  // namespace

int main(int argc, char** argv) {
    int rounds = 25;
    std::string json = "texprobe_bench.json";
    fs::path before;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (std::strcmp(argv[i], "--rounds") == 0) rounds = std::max(1, std::atoi(argv[i + 1]));
        if (std::strcmp(argv[i], "--json") == 0) json = argv[i + 1];
        if (std::strcmp(argv[i], "--before") == 0) before = argv[i + 1];
    }
    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    std::vector<Row> rows, storeRow;
    const std::vector<Cell> cells = measure_inside(folder, rounds, &storeRow);
    add_kernels(cells, &rows);
    rows.insert(rows.end(), storeRow.begin(), storeRow.end());
    measure_processes(folder, before, rounds, &rows);
    measure_survey(folder, std::max(1, rounds / 8), &rows);
    print_cells(cells);
    print_rows(rows);
    write_json(json, rows, cells);
    std::printf("\n%d interleaved rounds, medians; written to %s\n", rounds, json.c_str());
}
