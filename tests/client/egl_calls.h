// The EGL calls that disturb an application when they come from a library: counted, then passed on.

#ifndef TEXPROBE_TESTS_EGL_CALLS_H
#define TEXPROBE_TESTS_EGL_CALLS_H

namespace texprobe::tests {

/// How many displays this program's own code has opened, initialized or terminated, contexts it has
/// created, and times it has changed what is current.
int disturbing_egl_calls();

}  // namespace texprobe::tests

#endif
