// The first words of the lines in which the recorder tells, as they happen, of the calls that the
// inspected test makes.

#ifndef TEXPROBECTL_RECORDER_LINES_H
#define TEXPROBECTL_RECORDER_LINES_H

namespace texprobe::ctl::line {

/// An error that the tests before have left.
inline constexpr const char* kPending = "pending";
/// Before a call.
inline constexpr const char* kCall = "call";
// After it.
inline constexpr const char* kResult = "result";
inline constexpr const char* kReturned = "returned";
inline constexpr const char* kError = "error";
/// The internal format of the texture that it has defined.
inline constexpr const char* kChosen = "chosen";

}  // namespace texprobe::ctl::line

#endif
