// The comparison again, with the portable functions that other processors use.

#define TEXPROBE_PORTABLE_LOOPS
#define Dispatch PortableDispatch
#include "dispatch_test.cpp"  // NOLINT(bugprone-suspicious-include)
