// The comparison again, as it is on processors that nothing is known of.

#define TEXPROBE_PORTABLE_LOOPS
#define Dispatch PortableDispatch
#define DispatchAgainstSlowComparison PortableDispatchAgainstSlowComparison
#include "dispatch_test.cpp"  // NOLINT(bugprone-suspicious-include)
