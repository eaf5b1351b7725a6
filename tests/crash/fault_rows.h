// Rows of the table of faults in docs/faults.md. A test that injects faults counts what it tried
// and what was lost; scripts/faults adds the rows of one fault up and writes the table.

#ifndef TEXPROBE_TESTS_FAULT_ROWS_H
#define TEXPROBE_TESTS_FAULT_ROWS_H

#include <string>

namespace texprobe::tests {

struct FaultCount {
    unsigned cases = 0;
    unsigned lostVerdicts = 0;
    unsigned hangs = 0;
};

/// Writes the row of `fault`, a text for the table. Each test that contributes to the same fault
/// gives another `part`, a word for a file name; a part that is written again replaces the former.
void write_fault_row(const std::string& fault, const std::string& part, const FaultCount& count);

}  // namespace texprobe::tests

#endif
