// The pieces of texts: verdicts, tables, sentences, and the lines on a record set.

#ifndef TEXPROBECTL_TEXT_PIECES_H
#define TEXPROBECTL_TEXT_PIECES_H

#include <algorithm>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "process/terminal.h"
#include "records/record_set.h"

namespace texprobe::ctl {

/// A cell's text, and how it is shown.
struct Shown {
    std::string text;
    /// Of the terminal: "32" is green.
    const char* colour = "";

    /// On screen: its characters.
    std::size_t width() const;
    bool operator==(const Shown& other) const { return text == other.text; }
};

Shown show_verdict(Verdict verdict, const Terminal& terminal);
/// The same, with a mark for a no that is the test's own.
Shown show_cell(const RecordSet& set, const Cell& cell, const Terminal& terminal);
bool has_mark(const RecordSets& sets);
/// The mark's explanation, if it is shown.
void explain_mark(bool isShown, const Terminal& terminal, std::ostream& stream);
inline constexpr const char* kOfTest =
    "the driver is right; this no comes from the test itself (see `inspect`)";

/// Of the survey: "untested", "no", "n/a" or the verdict's name.
const char* word_of(const survey::FormatRecord& record, const survey::Question& question);

/// As a `colour`.
constexpr const char* kBold = "1";

/// In colour where there are colours.
std::string coloured(const std::string& text, const char* colour, const Terminal& terminal);

/// A row of a table: a name, and the cells, each at the right of its column.
std::string row_of(const std::string& name, const std::vector<Shown>& row, const Terminal& terminal,
                   std::size_t nameWidth = 25, std::size_t columnWidth = 9);

void write_matrix(const std::function<Shown(const Cell&)>& show, const Terminal& terminal,
                  std::ostream& stream);

/// Sentences, and the names that each is said of, in the order in which they came.
template <class Said = std::string>
using Folded = std::vector<std::pair<Said, std::vector<std::string>>>;

/// Adds a name to those of which the same is said.
template <class Said>
void fold(const Said& said, const std::string& name, Folded<Said>* folded) {
    const auto same = std::find_if(folded->begin(), folded->end(),
                                   [&](const auto& each) { return each.first == said; });
    if (same != folded->end()) return same->second.push_back(name);
    folded->push_back({said, {name}});
}

/// A sentence of a stranger or of this program, plain and broken for 80 columns at blanks, which
/// `separator` ends with; the lines after the first are indented.
std::string wrapped(const std::string& given, std::size_t indent, std::string_view separator = " ");

/// "complete", "40 of 96 verdicts", "of an older version".
std::string describe_state(const RecordSet& set);

/// "4.5 Mesa 22.3.6": without the words that every compatibility profile has.
std::string short_driver(const std::optional<std::string>& glVersion);

std::string renderer_name(const RecordSet& set);

/// "measured 2026-11-21 19:56 UTC, version 0.21", as far as it is known.
std::string describe_measured(const RecordSet& set);
/// The build, and the same.
std::string describe_build(const RecordSet& set);

}  // namespace texprobe::ctl

#endif
