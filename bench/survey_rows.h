// The survey's rows of the table.

#ifndef TEXPROBE_BENCH_SURVEY_ROWS_H
#define TEXPROBE_BENCH_SURVEY_ROWS_H

#include <filesystem>
#include <vector>

#include "rows.h"

namespace texprobe::bench {

/// Whole surveys against the same OpenGL work without records. `folder` has the programs.
void measure_survey(const std::filesystem::path& folder, int rounds, std::vector<Row>* rows);

}  // namespace texprobe::bench

#endif
