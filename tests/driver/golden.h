// What the tool must do and print on the fakes, written by hand.

#ifndef TEXPROBE_TESTS_GOLDEN_H
#define TEXPROBE_TESTS_GOLDEN_H

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

#include "support/expected_calls.h"
#include "support/formats.h"

namespace texprobe::tests {

/// One test of a first pass; those that transfer nothing have no random value and no distance.
struct GoldenTest {
    const Format& format;
    std::string capability;
    std::string key;
    long random = 0;
    unsigned long long distance = 0;
    std::vector<std::string> calls = {};

    bool verdict() const { return distance <= 2684354; }
};
const std::vector<GoldenTest>& golden_tests();

/// All calls of a first run of kOneRenderer in which the format query supports everything, without
/// the first line of its process.
std::vector<std::string> golden_first_run();

/// The number, from 1, of the first of these calls that has this text.
unsigned golden_call(const std::string& text);

/// All calls of a run of kOneRenderer that finds all records and a current version.
std::vector<std::string> golden_second_run();

/// The distance that the fake renderer gives, computed slowly.
unsigned long long expected_distance(const Format& format, const std::string& capability,
                                     long random);

/// `text` with "{A}" for kAppID and "{P}" for the process.
std::string of_run(pid_t pid, const std::string& text);

/// What a run prints on its output: the banner, the number of displays and the renderers.
std::string golden_out(
    pid_t pid, int displays = 1,
    const std::string& renderers = "found display 1 (1) renderer ID: 20400 VRAM: 256 MB\n");

/// The lines of a first pass over the sixteen formats, printed by process `pid`.
std::string golden_pass_text(pid_t pid);

/// All records after a first run of kOneRenderer.
std::map<std::string, std::string> golden_records();

}  // namespace texprobe::tests

#endif
