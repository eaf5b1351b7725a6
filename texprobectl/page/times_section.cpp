#include "page/times_section.h"

#include <kainjow/mustache.hpp>

#include "records/plain_text.h"

namespace texprobe::ctl {

namespace {

using Data = kainjow::mustache::data;

constexpr const char* kTemplate = R"html(<section aria-labelledby="times{{number}}">
<h2 id="times{{number}}">How fast: {{renderer}}</h2>
<p class="quiet">{{driver}}<br>{{id}}</p>
{{#tables}}<div class="table" role="region" aria-label="{{caption}}, {{number}}" tabindex="0">
<table>
<caption>{{caption}}</caption>
<thead><tr><th scope="col">format</th>{{#columns}}<th scope="col">{{text}}</th>{{/columns}}</tr></thead>
<tbody>
{{#rows}}<tr><th scope="row">{{format}} {{transfer}}</th>{{#cells}}<td>{{text}}</td>{{/cells}}{{#lacks}}<td class="quiet" colspan="5">{{text}}</td>{{/lacks}}</tr>
{{/rows}}</tbody>
</table>
</div>
{{/tables}}<p>{{legend}}</p>
</section>
)html";

Data list_texts(const std::vector<std::string>& texts) {
    Data list(Data::type::list);
    for (const std::string& text : texts) list << Data("text", text);
    return list;
}

Data row_data(const TimesRow& row) {
    Data data;
    data.set("format", row.format);
    data.set("transfer", row.transfer);
    std::vector<std::string> cells(row.speeds.begin(), row.speeds.end());
    cells.insert(cells.end(), {row.gain, row.fits});
    data.set("cells", list_texts(row.lack.empty() ? cells : std::vector<std::string>()));
    data.set("lacks", list_texts(row.lack.empty() ? std::vector<std::string>()
                                                  : std::vector<std::string>{row.lack}));
    return data;
}

}  // namespace

std::string times_section(const Times& times, std::size_t number) {
    Data tables(Data::type::list);
    for (const TimesTable& table : tables_of(times)) {
        Data rows(Data::type::list);
        for (const TimesRow& row : table.rows) rows << row_data(row);
        Data data;
        data.set("caption", table.caption);
        data.set("rows", rows);
        tables << data;
    }
    Data data;
    data.set("number", std::to_string(number));
    data.set("renderer", plain(times.renderer.value_or("an unknown renderer")));
    data.set("driver", plain(times.glVersion.value_or("unknown driver")));
    data.set("id", plain(times.id));
    data.set("columns", list_texts({kWays[0].column, kWays[1].column, kWays[2].column, kTimesGain,
                                    kTimesFit}));
    data.set("tables", tables);
    data.set("legend", kTimesLegend);
    return kainjow::mustache::mustache(kTemplate).render(data);
}

}  // namespace texprobe::ctl
