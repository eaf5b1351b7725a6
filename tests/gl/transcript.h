// Reads what a run of the tool printed for one renderer, strictly: every line must be the one that
// the verdicts before it call for.

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
/// line, at the first line that should not stand where it does. With `measured` false, no test line
/// may occur.
std::vector<Transcript> read_transcripts(const std::string& err, bool measured);

}  // namespace texprobe::tests

#endif
