#include "page/times_section.h"

#include "records/plain_text.h"

namespace texprobe::ctl {

namespace {

std::vector<PageCell> cells_of(const TimesRow& times) {
    if (!times.lack.empty()) return {{{"quiet", times.lack}}};
    std::vector<PageCell> cells;
    for (const std::string& speed : times.speeds) cells.push_back({{"", speed}});
    cells.push_back({{"", times.gain}});
    cells.push_back({{"", times.fits}});
    return cells;
}

}  // namespace

PageSection times_section(const Times& times, std::size_t number) {
    PageSection section("times" + std::to_string(number),
                        "How fast: " + plain(times.renderer.value_or("an unknown renderer")));
    section.paragraph(plain(times.glVersion.value_or("unknown driver") + ", " + times.id));
    for (const TimesTable& each : tables_of(times)) {
        PageTable table = {each.caption, {"format"}, {}};
        for (const Way& way : kWays) table.columns.emplace_back(way.column);
        table.columns.insert(table.columns.end(), {kTimesGain, kTimesFit});
        for (const TimesRow& row : each.rows) {
            table.rows.emplace_back(row.format + ' ' + row.transfer, cells_of(row));
        }
        section.table(table);
    }
    section.paragraph(kTimesLegend);
    return section;
}

}  // namespace texprobe::ctl
