// The notes of `measure`, under identifiers of its own beside the tool's: how a false record came
// about, when a set was measured, and which process measures.
//
// A mark is one text under the key of the record that it explains: "signal SIGSEGV", "status 3",
// "seconds 60", or "seen" for a test that came back. It counts only while that record is false.

#ifndef TEXPROBECTL_MARKS_H
#define TEXPROBECTL_MARKS_H

#include <optional>
#include <string>

#include "records/preferences.h"
#include "records/record_set.h"

namespace texprobe::ctl {

/// Where the marks of one record set are.
std::string marks_of(const std::string& id);

std::optional<Cause> read_mark(const std::string& id, const Cell& cell);
std::string mark_text(const Cause& cause);

/// When `measure` last completed this set: "2026-11-21T19:56:43Z". Texts of this form sort by time.
std::optional<std::string> read_time(const std::string& id);
inline constexpr const char* kTimeKey = "MEASURED";

/// The tool that a `measure` has started and has not seen end.
struct RunningToolMark {
    int process = 0;
    /// Of identity_of_process().
    std::string identity;
};
std::optional<RunningToolMark> read_running_tool();
bool write_running_tool(const std::optional<RunningToolMark>& mark);

}  // namespace texprobe::ctl

#endif
