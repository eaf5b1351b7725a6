#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "records/catalogue.h"
#include "records/plain_text.h"
#include "text/text_matrix.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

struct ListColumns {
    std::size_t id = 0;
    std::size_t renderer = 0;
    std::size_t driver = 0;
    /// 0: left out.
    std::size_t build = 0;
    std::size_t state = 0;

    std::size_t all() const {
        return 2 + 2 + id + 2 + renderer + 2 + driver + (build == 0 ? 0 : 2 + build) + 2 + state;
    }
};

/// The names give way first, then the build, which is in the identifier where it tells sets apart.
/// A set whose identifier is cut has its number.
void fit(std::size_t width, ListColumns* columns) {
    const auto shorten = [&](std::size_t* column) {
        constexpr std::size_t kLeast = 10;
        const std::size_t over = columns->all() - std::min(columns->all(), width);
        if (over > 0 && *column > kLeast) {
            *column = std::max(kLeast, *column - std::min(*column, over));
        }
    };
    for (auto* column : {&columns->renderer, &columns->driver, &columns->build}) shorten(column);
    if (columns->all() > width) columns->build = 0;
    shorten(&columns->id);
}

void write_row(const ListColumns& columns, const std::array<std::string, 6>& row,
               std::ostream& stream) {
    const auto cut = [](const std::string& text, std::size_t width) {
        return fmt::format("{:<{}}", shortened(text, static_cast<int>(width)), width);
    };
    stream << fmt::format("{:>2}  {}  {}  {}  {}{}\n", row[0], cut(row[1], columns.id),
                          cut(row[2], columns.renderer), cut(row[3], columns.driver),
                          columns.build == 0 ? "" : cut(row[4], columns.build) + "  ", row[5]);
}

}  // namespace

void write_list_text(const RecordSets& all, const Terminal& terminal, std::ostream& stream) {
    if (all.empty()) {
        stream << "Nothing is recorded yet: `texprobectl measure` measures this machine.\n";
        return;
    }
    std::vector<std::array<std::string, 6>> rows = {
        {"#", "id", "renderer", "driver", "build", "measured"}};
    for (const RecordSet& each : all) {
        const RecordSet set = plain(each);
        rows.push_back(
            {std::to_string(rows.size()), short_id(set, all), renderer_name(set),
             short_driver(set.glVersion), set.systemBuild,
             describe_state(set) + (set.isPresent ? ", present" : "") +
                 (set.isSoftware ? ", software" : "") +
                 (set.survey.empty()                             ? ""
                  : describe_missing(set.survey, {}, "").empty() ? ", surveyed"
                                                                 : ", partly surveyed")});
    }
    ListColumns columns;
    for (const auto& row : rows) {
        columns.id = std::max(columns.id, row[1].size());
        columns.renderer = std::max(columns.renderer, row[2].size());
        columns.driver = std::max(columns.driver, row[3].size());
        columns.build = std::max(columns.build, row[4].size());
        columns.state = std::max(columns.state, row[5].size());
    }
    if (terminal.isTerminal) fit(static_cast<std::size_t>(terminal.width), &columns);
    for (const auto& row : rows) write_row(columns, row, stream);
}

}  // namespace texprobe::ctl
