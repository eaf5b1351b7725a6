#include <fmt/format.h>

#include "records/plain_text.h"
#include "text/text_matrix.h"
#include "text/write_text.h"
#include "time/times.h"

namespace texprobe::ctl {

void write_times_text(const Times& times, const Terminal& terminal, std::ostream& stream) {
    constexpr const char* kCells = "{:>9}{:>9}{:>9}{:>14}  {}\n";
    stream << coloured(plain(times.renderer.value_or("unknown renderer")), kBold, terminal) << '\n'
           << plain(times.glVersion.value_or("unknown driver")) << '\n'
           << plain(times.id) << "\n\n";
    for (const TimesTable& table : tables_of(times)) {
        stream << coloured(table.caption, kBold, terminal) << '\n'
               << std::string(33, ' ')
               << fmt::format(kCells, kWays[0].column, kWays[1].column, kWays[2].column, kTimesGain,
                              kTimesFit);
        std::string format;
        for (const TimesRow& row : table.rows) {
            stream << fmt::format("{:<27}{:<6}", row.format == format ? "" : row.format,
                                  row.transfer);
            format = row.format;
            stream << (row.lack.empty() ? fmt::format(kCells, row.speeds[0], row.speeds[1],
                                                      row.speeds[2], row.gain, row.fits)
                                        : row.lack + '\n');
        }
        stream << '\n';
    }
    stream << kTimesLegend;
}

}  // namespace texprobe::ctl
