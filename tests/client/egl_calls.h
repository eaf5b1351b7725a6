// The EGL calls that would disturb an application if a library made them: counted, then passed on.

#ifndef TEXPROBE_TESTS_EGL_CALLS_H
#define TEXPROBE_TESTS_EGL_CALLS_H

namespace texprobe::tests {

/// How often this program's own code has opened, initialized or terminated a display, created a
/// context, or changed what is current.
int disturbing_egl_calls();

}  // namespace texprobe::tests

#endif
