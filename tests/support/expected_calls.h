// The transcript of OpenGL calls, written by hand: what a test calls on a renderer with both
// extensions.

#ifndef TEXPROBE_TESTS_EXPECTED_CALLS_H
#define TEXPROBE_TESTS_EXPECTED_CALLS_H

#include <map>
#include <string>
#include <vector>

#include "support/formats.h"

namespace texprobe::tests {

/// `text` with every "{NAME}" replaced by the value of NAME, which may have such marks itself.
std::string filled(std::string text, const std::map<std::string, std::string>& values);

/// The calls of one test. `random` is the value that random() returns; the call is among them.
std::vector<std::string> expected_calls(const Format& format, const std::string& capability,
                                        long random);

}  // namespace texprobe::tests

#endif
