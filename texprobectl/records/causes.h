// The memory of `measure`, under identifiers of its own beside the tool's: the cause of a false
// record, when a set was measured, and which process measures.
//
// A cause is one text under the key of the record that it explains: "signal SIGSEGV", "status 3",
// "seconds 60", or "seen" for a test that came back, with "test" or "other" once it is known whose
// no it is. It counts only while that record is false.

#ifndef TEXPROBECTL_CAUSES_H
#define TEXPROBECTL_CAUSES_H

#include <optional>
#include <string>

#include "records/preferences.h"
#include "records/record_set.h"

namespace texprobe::ctl {

/// Where the causes of one record set are.
std::string causes_of(const std::string& id);

std::optional<Cause> read_cause(const std::string& id, const Cell& cell);
std::string cause_text(const Cause& cause);

// Times are texts such as "2026-11-21T19:56:43Z", which sort by time.

/// When `measure` last found this set complete.
std::optional<std::string> read_time(const std::string& id);
inline constexpr const char* kTimeKey = "MEASURED";
/// When it completed this set with a verdict that was new.
inline constexpr const char* kRecordedKey = "RECORDED";

/// The tool that a `measure` has started and has not seen end.
struct StartedTool {
    int process = 0;
    /// Of identity_of_process().
    std::string identity;
};
std::optional<StartedTool> read_running_tool();
bool write_running_tool(const std::optional<StartedTool>& tool);

}  // namespace texprobe::ctl

#endif
