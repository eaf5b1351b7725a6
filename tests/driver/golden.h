// What the tool must do and print on the fakes, written by hand.

#ifndef TEXPROBE_TESTS_GOLDEN_H
#define TEXPROBE_TESTS_GOLDEN_H

#include <sys/types.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/expected_calls.h"
#include "support/formats.h"

namespace texprobe::tests {

/// All calls of a first run of kOneRenderer in which the format query supports everything, without
/// the first line of its process.
std::vector<std::string> golden_first_run();

/// All calls of a run of kOneRenderer that finds all records and a current version.
std::vector<std::string> golden_second_run();

/// The distance that the fake renderer gives, computed slowly.
unsigned long long expected_distance(const Format& format, const std::string& capability,
                                     long random);

/// The verdict for a distance.
bool is_match(unsigned long long distance);

/// The values that an unseeded generator returns, in order.
class RandomSequence {
public:
    RandomSequence();
    long next();
};

/// The lines of a first pass over the sixteen formats, printed by `application` and `pid`.
/// `distances` overrides the fakes' distances, by flag key.
std::string golden_pass_text(const std::string& application, pid_t pid,
                             const std::map<std::string, unsigned long long>& distances = {});

/// The verdicts of that pass, by flag key, as FakeTool reads them.
std::map<std::string, std::string> golden_verdicts();

/// All records after a first run of kOneRenderer.
std::map<std::string, std::string> golden_records();

}  // namespace texprobe::tests

#endif
