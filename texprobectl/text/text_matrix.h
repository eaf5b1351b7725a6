// The sixteen formats by six capabilities as text, and the other lines on a record set.

#ifndef TEXPROBECTL_TEXT_MATRIX_H
#define TEXPROBECTL_TEXT_MATRIX_H

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "process/terminal.h"
#include "records/record_set.h"

namespace texprobe::ctl {

/// A cell's text, and how it is shown.
struct Shown {
    std::string text;
    /// The text's width on screen.
    std::size_t width = 0;
    /// Of the terminal: "32" is green.
    const char* colour = "";
};

Shown show_verdict(Verdict verdict, const Terminal& terminal);
/// The same, with a mark for a no that is the test's own.
Shown show_cell(const RecordSet& set, const Cell& cell, const Terminal& terminal);
bool has_mark(const RecordSets& sets);
/// The mark's explanation, if it is shown.
void explain_mark(bool isShown, const Terminal& terminal, std::ostream& stream);
inline constexpr const char* kOfTest =
    "the driver is right; this no comes from the test itself (see `inspect`)";

Shown show_word(const char* word, const char* colour = "");

/// As a `colour`.
constexpr const char* kBold = "1";

/// In colour where there are colours.
std::string coloured(const std::string& text, const char* colour, const Terminal& terminal);

/// A row of a matrix: a name, and under each column what is shown.
void write_row(const std::string& name, const std::vector<Shown>& row, const Terminal& terminal,
               std::ostream& stream);

void write_matrix(const std::function<Shown(const Cell&)>& show, const Terminal& terminal,
                  std::ostream& stream);

/// "complete", "40 of 96 verdicts", "of an older version".
std::string describe_state(const RecordSet& set);

/// "4.5 Mesa 22.3.6": without the words that every compatibility profile has.
std::string short_driver(const std::optional<std::string>& glVersion);

std::string renderer_name(const RecordSet& set);

/// "measured 2026-11-21 19:56 UTC, version 0.21", as far as it is known.
std::string describe_measured(const RecordSet& set);

}  // namespace texprobe::ctl

#endif
