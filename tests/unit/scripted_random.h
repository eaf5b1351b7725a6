// A scripted random(), which replaces the library's in the whole program.

#ifndef TEXPROBE_TESTS_SCRIPTED_RANDOM_H
#define TEXPROBE_TESTS_SCRIPTED_RANDOM_H

namespace texprobe::tests {

/// What random() returns.
extern long scriptedRandom;

/// The number of calls so far.
extern int randomCalls;

}  // namespace texprobe::tests

#endif
