#include "survey_rows.h"

#include <functional>

#include "program_folder.h"

namespace texprobe::bench {

namespace {

/// Of one renderer: with records and without, and with no compiled shaders in Mesa's cache.
struct SurveyRuns {
    Runs survey, bare, withoutShaders;
};

void measure_renderer(const char* driver, const ProgramFolder& programs, int rounds,
                      std::vector<Row>* rows) {
    const std::string survey = programs / "texprobe_survey_for_bench";
    setenv("GALLIUM_DRIVER", driver, 1);
    run_process({programs / "bare_survey"});
    SurveyRuns runs;
    const std::vector<std::function<void()>> steps = {
        [&] {
            programs.remove_records();
            runs.survey.add(run_process({survey}));
        },
        [&] { runs.bare.add(run_process({programs / "bare_survey"})); },
        [&] {
            programs.remove_records();
            runs.withoutShaders.add(run_without_shaders(survey, programs / "shaders"));
        },
    };
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < steps.size(); ++i) {
            steps[(i + static_cast<std::size_t>(round)) % steps.size()]();
        }
    }
    unsetenv("GALLIUM_DRIVER");
    const std::string name = std::string("whole survey, ") + driver;
    rows->push_back(time_row(name + " : without records", runs.survey, runs.bare, 1.2));
    rows->push_back(cpu_row(name + ", processor time : without records", runs.survey, runs.bare));
    rows->push_back(row_of(name + ", peak memory : without records", median(runs.survey.peakMiB),
                           median(runs.bare.peakMiB), "MiB", 1.05));
    rows->push_back(time_row(name + " without compiled shaders : with them", runs.withoutShaders,
                             runs.survey, 0.0));
}

}  // namespace

void measure_survey(const std::filesystem::path& folder, int rounds, std::vector<Row>* rows) {
    const ProgramFolder programs(folder,
                                 {folder / "texprobe_survey_for_bench", folder / "bare_survey"});
    for (const char* driver : {"llvmpipe", "softpipe"}) {
        measure_renderer(driver, programs, rounds, rows);
    }
}

}  // namespace texprobe::bench
