// Reads a run's output for one renderer strictly: every line must follow from the verdicts before
// it.

#ifndef TEXPROBE_TESTS_TRANSCRIPT_H
#define TEXPROBE_TESTS_TRANSCRIPT_H

#include <map>
#include <string>
#include <vector>

namespace texprobe::tests {

/// The text with every process ID in brackets replaced by "[PID]".
std::string without_process_ids(const std::string& text);

/// One renderer's part of the tool's standard error, process IDs replaced.
struct Transcript {
    std::string application;
    bool upToDate = false;
    bool hasFBO = false;
    bool hasPBO = false;
    std::map<std::string, bool> verdicts;  ///< By flag key.
    std::vector<std::string> scores;
    std::string vendor;
    std::string version;
};

/// Reads the whole text: one transcript per renderer run. Throws std::runtime_error, naming the
/// line, at the first unexpected line. If `measured` is false, no test line may occur.
std::vector<Transcript> read_transcripts(const std::string& err, bool measured);

}  // namespace texprobe::tests

#endif
