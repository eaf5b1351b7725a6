// An interruption by the user costs nothing: the tool ends between two tests.

#ifndef TEXPROBE_INTERRUPTION_H
#define TEXPROBE_INTERRUPTION_H

namespace qor {

/// A reader that goes away, or a file that may not grow, is an error of the write and not a death:
/// that would leave the test in hand recorded as failed. Children inherit it.
void survive_closed_outputs();

/// From now on the first SIGINT, SIGTERM or SIGHUP is remembered. A second one ends the process at
/// once, and so do two seconds, unless end_by_interruption() comes first. What is ignored stays
/// ignored. For our own program only: signals belong to the program, not to a library.
///
/// A process of which `isTooLate` is true ends at the first one. The handlers call it.
void remember_interruptions(bool (*isTooLate)());

bool is_interrupted();

/// Ends the process by the signal that is_interrupted() is about.
[[noreturn]] void end_by_interruption();

}  // namespace qor

#endif
