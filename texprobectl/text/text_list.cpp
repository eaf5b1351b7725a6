#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "records/catalogue.h"
#include "records/plain_text.h"
#include "text/text_pieces.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

enum Column : std::size_t {
    kNumber,
    kID,
    kRenderer,
    kDriver,
    kBuild,
    kVersion,
    kMeasured,
    kState,
    kColumnCount
};

using Row = std::array<std::string, kColumnCount>;
/// 0: left out.
using Widths = std::array<std::size_t, kColumnCount>;

std::size_t width_of_all(const Widths& widths) {
    std::size_t all = 0;
    for (const std::size_t width : widths) all += width + (width == 0 ? 0 : 2);
    return all - 2;
}

/// The columns that give way, in this order, and the least width of each. The build is in the
/// identifier where it tells sets apart, and a set whose identifier is cut has its number.
constexpr std::array<std::pair<Column, std::size_t>, 7> kGivesWay = {{{kVersion, 0},
                                                                      {kBuild, 0},
                                                                      {kDriver, 10},
                                                                      {kRenderer, 16},
                                                                      {kMeasured, 0},
                                                                      {kRenderer, 10},
                                                                      {kID, 10}}};

void fit(std::size_t width, Widths* widths) {
    for (const auto& [column, least] : kGivesWay) {
        const std::size_t all = width_of_all(*widths);
        std::size_t& own = (*widths)[column];
        if (all <= width || own <= least) continue;
        own = least == 0 ? 0 : std::max(least, own - std::min(own, all - width));
    }
}

/// Where a name differs from those that are cut to the same: the beginning of that word.
std::size_t place_of_difference(const std::string& name, const std::vector<Row>& rows,
                                std::size_t width) {
    std::size_t place = 0;
    for (const Row& row : rows) {
        const std::string& other = row[kRenderer];
        if (other == name || other.compare(0, width - 3, name, 0, width - 3) != 0) continue;
        const auto differs = std::mismatch(name.begin(), name.end(), other.begin(), other.end());
        const auto at = static_cast<std::size_t>(differs.first - name.begin());
        place = std::max(place, at);
    }
    const std::size_t blank = name.rfind(' ', place);
    return blank == std::string::npos ? 0 : blank + 1;
}

/// Shortens the renderers' names, and keeps them apart.
void shorten_names(std::size_t width, std::vector<Row>* rows) {
    const std::vector<Row> whole = *rows;
    for (Row& row : *rows) {
        std::string& name = row[kRenderer];
        if (name.size() <= width) continue;
        const std::size_t place = place_of_difference(name, whole, width);
        if (place > 0) name = "..." + name.substr(place);
        name = shortened(name, static_cast<int>(width));
    }
}

void write_row(const Widths& widths, const Row& row, std::ostream& stream) {
    std::string line = fmt::format("{:>{}}", row[kNumber], widths[kNumber]);
    for (std::size_t i = kID; i < kColumnCount; ++i) {
        if (widths[i] == 0) continue;
        line += fmt::format("  {:<{}}", shortened(row[i], static_cast<int>(widths[i])), widths[i]);
    }
    stream << line.substr(0, line.find_last_not_of(' ') + 1) << '\n';
}

std::string describe_set(const RecordSet& set) {
    std::string state = describe_state(set) + (set.isPresent ? ", present" : "") +
                        (set.isSoftware ? ", software" : "");
    if (set.survey.empty()) return state;
    return state +
           (describe_missing(set.survey, {}, "").empty() ? ", surveyed" : ", partly surveyed");
}

}  // namespace

void write_list_text(const RecordSets& all, const Terminal& terminal, std::ostream& stream) {
    if (all.empty()) {
        stream << "Nothing is recorded yet: `texprobectl measure` measures this machine.\n";
        return;
    }
    std::vector<Row> rows = {
        {"#", "id", "renderer", "driver", "build", "version", "measured", "state"}};
    for (const RecordSet& each : all) {
        const RecordSet set = plain(each);
        constexpr std::size_t kDay = 10;
        rows.push_back({std::to_string(rows.size()), short_id(set, all), renderer_name(set),
                        short_driver(set.glVersion), set.systemBuild,
                        set.version ? fmt::format("{:g}", *set.version) : "",
                        set.measured.value_or("").substr(0, kDay), describe_set(set)});
    }
    Widths widths = {2};
    for (const Row& row : rows) {
        for (std::size_t i = kID; i < kColumnCount; ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    if (terminal.isTerminal) fit(static_cast<std::size_t>(terminal.width), &widths);
    shorten_names(widths[kRenderer], &rows);
    for (const Row& row : rows) write_row(widths, row, stream);
}

}  // namespace texprobe::ctl
