// random() as the test says: the library's own is replaced in the whole program.

#ifndef TEXPROBE_TESTS_SCRIPTED_RANDOM_H
#define TEXPROBE_TESTS_SCRIPTED_RANDOM_H

namespace texprobe::tests {

/// What random() returns.
extern long scriptedRandom;

/// How often it was called.
extern int randomCalls;

}  // namespace texprobe::tests

#endif
