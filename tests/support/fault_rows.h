// Rows of the table in docs/faults.md. A test that injects faults counts what it tried and what was
// lost; scripts/check/faults adds up the rows of each fault and writes the table.

#ifndef TEXPROBE_TESTS_FAULT_ROWS_H
#define TEXPROBE_TESTS_FAULT_ROWS_H

#include <functional>
#include <string>

namespace texprobe::tests {

struct FaultCount {
    unsigned cases = 0;
    unsigned lostVerdicts = 0;
    unsigned hangs = 0;

    /// Counts one case, which returns whether nothing is lost; one of more than ten seconds hangs.
    /// Returns the same.
    bool add(const std::function<bool()>& losesNothing);
};

/// Writes the row of `fault`, a text for the table. Tests that contribute to the same fault use
/// different `part`s, words for a file name; writing a part again replaces it.
void write_fault_row(const std::string& fault, const std::string& part, const FaultCount& count);

}  // namespace texprobe::tests

#endif
