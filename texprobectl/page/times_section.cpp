#include "page/times_section.h"

#include <fmt/format.h>

#include <algorithm>
#include <kainjow/mustache.hpp>

#include "records/plain_text.h"

namespace texprobe::ctl {

namespace {

using Data = kainjow::mustache::data;

// Widths are parts of the screen's and texts have the page's size, so a plot need not be scaled
// down to fit a narrow screen.
constexpr const char* kTemplate = R"html(<section aria-labelledby="times{{number}}">
<h2 id="times{{number}}">How fast: {{renderer}}</h2>
<p>Megabytes (10<sup>6</sup> bytes) per second of the fastest verified way in and out of each
format, by the size of the image. Filled: with pixel buffer objects; its line spans the middle half
of the rounds. Hollow: the same transfer without. All bars have one scale, which ends at
{{scale}} MB/s.</p>
<p>kept: a buffer is mapped as it is; fresh: after glBufferData without data; range: by
glMapBufferRange, invalidated. {{spread}}</p>
<p class="quiet">{{driver}}<br>{{id}}</p>
<div class="plots">
{{#formats}}<figure>
<figcaption>{{name}}</figcaption>
{{#hasRows}}<svg role="img" aria-label="{{words}}" width="100%" height="{{height}}">
{{#rows}}<text x="0" y="{{textY}}">{{label}}</text>
<rect class="buffer" x="0" y="{{barY}}" width="{{width}}%" height="10"></rect>
<line x1="{{least}}%" x2="{{most}}%" y1="{{lineY}}" y2="{{lineY}}"></line>
<rect class="direct" x="1" y="{{directY}}" width="{{direct}}%" height="6"></rect>
{{/rows}}</svg>{{/hasRows}}
{{#lacks}}<p class="quiet">{{text}}</p>
{{/lacks}}</figure>
{{/formats}}</div>
</section>
)html";

struct SpeedBar {
    const TransferTimes* transfer;
    bool isIn;

    const TimedWay& way() const { return *transfer->fastest(); }
    /// How much the way would move in this time.
    double speed(double seconds) const {
        return seconds > 0.0 ? static_cast<double>(transfer->bytes) / seconds / 1e6 : 0.0;
    }
    double direct() const {
        const TimedWay* timed = transfer->find(kNoBuffer);
        return timed ? speed(timed->seconds.median) : 0.0;
    }
};

std::vector<SpeedBar> bars_of(const Times& times, std::size_t format) {
    std::vector<SpeedBar> bars;
    for (const ImageSize& size : sizes_of(times)) {
        for (const bool isIn : {true, false}) {
            const TransferTimes* best = fastest_transfer(times, format, size, isIn);
            if (best) bars.push_back({best, isIn});
        }
    }
    return bars;
}

double scale_of(const Times& times) {
    double most = 0.0;
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        for (const SpeedBar& bar : bars_of(times, format)) {
            most = std::max({most, bar.speed(bar.way().seconds.lower), bar.direct()});
        }
    }
    return most;
}

std::string label_of(const SpeedBar& bar) {
    return fmt::format("{} {}: {:.0f} MB/s, {:.0f} images/s ({}, {})",
                       bar.transfer->what.size.name(), bar.isIn ? "in" : "out",
                       bar.transfer->megabytes_per_second(bar.way()), images_per_second(bar.way()),
                       kCapabilities[bar.transfer->what.transfer].column,
                       kWays[bar.way().way].column);
}

Data row_of(const SpeedBar& bar, std::size_t at, double scale) {
    constexpr std::size_t kHeight = 44;
    const auto percent = [&](double speed) { return fmt::format("{:.2f}", 99.0 * speed / scale); };
    const auto place = [&](std::size_t y) { return std::to_string(at * kHeight + y); };
    const Quartiles& seconds = bar.way().seconds;
    Data row;
    row.set("label", label_of(bar));
    row.set("textY", place(13));
    row.set("barY", place(18));
    row.set("lineY", place(23));
    row.set("directY", place(30));
    row.set("width", percent(bar.speed(seconds.median)));
    row.set("least", percent(bar.speed(seconds.upper)));
    row.set("most", percent(bar.speed(seconds.lower)));
    row.set("direct", percent(bar.direct()));
    return row;
}

std::string describe_bars(const std::vector<SpeedBar>& bars) {
    std::string words;
    for (const SpeedBar& bar : bars) {
        words += fmt::format("{}{}; without a buffer {:.0f} MB/s", words.empty() ? "" : ". ",
                             label_of(bar), bar.direct());
    }
    return words + '.';
}

/// The transfers without a bar: one line for each of the four and each reason.
Data list_lacks(const Times& times, std::size_t format) {
    std::vector<std::string> lines;
    for (const TransferTimes& transfer : times.transfers) {
        if (transfer.what.format != format || transfer.state == TimedState::kTimed) continue;
        std::string line = kCapabilities[transfer.what.transfer].words;
        if (transfer.state == TimedState::kNotVerified) {
            line += ": not verified";
        } else {
            line += " at " + transfer.what.size.name() + ": ";
            line += transfer.state == TimedState::kFailed ? "failed, " + plain(transfer.reason)
                                                          : std::string("not timed");
        }
        if (std::find(lines.begin(), lines.end(), line) == lines.end()) lines.push_back(line);
    }
    Data list(Data::type::list);
    for (const std::string& line : lines) list << Data("text", line);
    return list;
}

Data format_of(const Times& times, std::size_t format, double scale) {
    const std::vector<SpeedBar> bars = bars_of(times, format);
    Data rows(Data::type::list);
    for (std::size_t i = 0; i < bars.size(); ++i) rows << row_of(bars[i], i, scale);
    Data data;
    data.set("name", kFormats[format].name);
    data.set("hasRows", Data(bars.empty() ? Data::type::bool_false : Data::type::bool_true));
    data.set("words", describe_bars(bars));
    data.set("height", std::to_string(bars.size() * 44));
    data.set("rows", rows);
    data.set("lacks", list_lacks(times, format));
    return data;
}

}  // namespace

std::string times_section(const Times& times, std::size_t number) {
    const double scale = scale_of(times);
    const auto spread = spread_of(times);
    Data formats(Data::type::list);
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        const bool isTimed = std::any_of(
            times.transfers.begin(), times.transfers.end(),
            [&](const TransferTimes& transfer) { return transfer.what.format == format; });
        if (isTimed) formats << format_of(times, format, scale);
    }
    Data data;
    data.set("number", std::to_string(number));
    data.set("renderer", plain(times.renderer.value_or("an unknown renderer")));
    data.set("driver", plain(times.glVersion.value_or("unknown driver")));
    data.set("id", plain(times.id));
    data.set("scale", fmt::format("{:.0f}", scale));
    data.set("spread",
             spread ? fmt::format("Half of a way's rounds lay within {:.0f} % of its median, in "
                                  "every tenth way beyond {:.0f} %; smaller "
                                  "differences mean nothing.",
                                  spread->middle * 100.0, spread->high * 100.0)
                    : std::string());
    data.set("formats", formats);
    return kainjow::mustache::mustache(kTemplate).render(data);
}

}  // namespace texprobe::ctl
