// The comparison again, with the portable functions that other processors use.

#define TEXPROBE_PORTABLE_LOOPS
#define Dispatch PortableDispatch
#define DispatchAgainstSlowComparison PortableDispatchAgainstSlowComparison
#include "dispatch_test.cpp"  // NOLINT(bugprone-suspicious-include)
