// What the tool must do and print on the fakes, written down by hand.

#ifndef TEXPROBE_TESTS_GOLDEN_H
#define TEXPROBE_TESTS_GOLDEN_H

#include <sys/types.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/formats.h"

namespace texprobe::tests {

/// `text` with every "{NAME}" replaced by the value of NAME.
std::string filled(std::string text, const std::map<std::string, std::string>& values);

/// The calls inside one test, on a renderer with both extensions. `random` is the value that it
/// draws.
std::vector<std::string> golden_test_calls(const Format& format, const std::string& capability,
                                           long random);

/// All calls of a first run of kOneRenderer without verdicts of false from the format query, the
/// first line of its process left out.
std::vector<std::string> golden_first_run();

/// All calls of a run of kOneRenderer that finds every record and a current version.
std::vector<std::string> golden_second_run();

/// The distance that the fakes' renderer gives, worked out slowly.
unsigned long long expected_distance(const Format& format, const std::string& capability,
                                     long random);

/// The verdict that a distance means.
bool is_match(unsigned long long distance);

/// The values that an unseeded generator draws, in order.
class RandomSequence {
public:
    RandomSequence();
    long next();
};

/// The lines of a first pass over the sixteen formats, whose tests print `application` and `pid`.
/// `distances` overrides the fakes' distances, by flag key.
std::string golden_pass_text(const std::string& application, pid_t pid,
                             const std::map<std::string, unsigned long long>& distances = {});

/// The verdicts of that pass, by flag key, as records_program prints them.
std::map<std::string, std::string> golden_verdicts();

/// All records after a first run of kOneRenderer.
std::map<std::string, std::string> golden_records();

}  // namespace texprobe::tests

#endif
