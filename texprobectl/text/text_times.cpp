#include <fmt/format.h>

#include "records/plain_text.h"
#include "text/text_pieces.h"
#include "text/write_text.h"
#include "time/times.h"

namespace texprobe::ctl {

void write_times_text(const Times& times, const Terminal& terminal, std::ostream& stream) {
    const auto writeLine = [&](const std::string& format, const std::string& transfer,
                               const auto& cells) {
        stream << fmt::format("{:<27}{:<6}", format, transfer);
        if (cells.size() < kTimesColumns.size()) {
            stream << cells[0] << '\n';
        } else {
            stream << fmt::format("{:>9}{:>9}{:>9}{:>14}  {}\n", cells[0], cells[1], cells[2],
                                  cells[3], cells[4]);
        }
    };
    stream << coloured(plain(times.renderer.value_or("unknown renderer")), kBold, terminal) << '\n'
           << plain(times.glVersion.value_or("unknown driver")) << '\n'
           << plain(times.id) << "\n\n";
    for (const TimesTable& table : tables_of(times)) {
        stream << coloured(table.caption, kBold, terminal) << '\n';
        writeLine("", "", kTimesColumns);
        std::string before;
        for (const TimesRow& row : table.rows) {
            writeLine(row.format == before ? "" : row.format, row.transfer, row.cells);
            before = row.format;
        }
        stream << '\n';
    }
    stream << kTimesLegend;
}

}  // namespace texprobe::ctl
