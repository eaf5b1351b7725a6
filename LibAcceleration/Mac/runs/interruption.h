// An interruption by the user costs nothing: the tool ends between two tests.

#ifndef TEXPROBE_INTERRUPTION_H
#define TEXPROBE_INTERRUPTION_H

namespace texprobe {

/// Turns a closed output, or a file that has reached its size limit, into a write error. Dying of
/// it would leave the current test recorded as failed. Children inherit this.
void survive_closed_outputs();

/// From now on the first SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGXCPU, SIGALRM, SIGUSR1 or SIGUSR2 is
/// remembered. A second one ends the process at once; so do two seconds without a call of
/// end_by_interruption(). Ignored signals stay ignored. For the tool only: signals belong to the
/// program, not to a library.
///
/// If `isTooLate` returns true, the first signal ends the process. Signal handlers call it.
void remember_interruptions(bool (*isTooLate)());

bool is_interrupted();

/// Ends the process by the remembered signal.
[[noreturn]] void end_by_interruption();

}  // namespace texprobe

#endif
