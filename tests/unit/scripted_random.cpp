#include "scripted_random.h"

namespace texprobe::tests {

long scriptedRandom = 0;
int randomCalls = 0;

}  // namespace texprobe::tests

// Without the library's header, whose declaration is stricter on some systems.
extern "C" long random();

long random() {
    ++texprobe::tests::randomCalls;
    return texprobe::tests::scriptedRandom;
}
