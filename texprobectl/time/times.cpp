#include "time/times.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

#include "records/plain_text.h"

namespace texprobe::ctl {

namespace {

/// Fewer rounds cannot tell a middle from an outlier.
constexpr int kFewRounds = 3;

double quantile_of_sorted(const std::vector<double>& values, double part) {
    if (values.empty()) return 0.0;
    const double place = part * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(std::floor(place));
    const std::size_t above = std::min(below + 1, values.size() - 1);
    return values[below] + (place - std::floor(place)) * (values[above] - values[below]);
}

/// Of two that may be null.
const TimedWay* faster(const TimedWay* a, const TimedWay* b) {
    return !a || (b && b->seconds.median < a->seconds.median) ? b : a;
}

const TimedWay* fastest_of(const TransferTimes& transfer) {
    const TimedWay* best = nullptr;
    for (const TimedWay& timed : transfer.ways) best = faster(best, &timed);
    return best;
}

/// Of all ways that lead there: in, by setting or by redefining, or out.
const TimedWay* fastest_there(const Times& times, const TimedTransfer& what) {
    const TimedWay* best = nullptr;
    for (const TransferTimes& transfer : times.transfers) {
        const TimedTransfer& other = transfer.what;
        const bool leadsThere = other.cell.format == what.cell.format && other.size == what.size &&
                                is_upload(other.cell.capability) == is_upload(what.cell.capability);
        if (leadsThere) best = faster(best, fastest_of(transfer));
    }
    return best;
}

bool is_as_fast(const TimedWay& timed, const TimedWay& fastest) {
    return timed.seconds.lower <= fastest.seconds.upper;
}

std::string show_speed(const TimedWay& timed, const TimedWay& fastest) {
    const char* mark = timed.rounds < kFewRounds    ? "?"
                       : &timed == &fastest         ? "*"
                       : is_as_fast(timed, fastest) ? "~"
                                                    : "";
    return fmt::format("{:.0f}{}", 1.0 / timed.seconds.median, mark);
}

std::string show_gain(const std::vector<TimedWay>& ways, bool hasFewRounds) {
    const TimedWay* direct = nullptr;
    const TimedWay* buffered = nullptr;
    for (const TimedWay& timed : ways) {
        if (timed.way == kNoBuffer)
            direct = &timed;
        else
            buffered = faster(buffered, &timed);
    }
    if (!direct || !buffered) return "-";
    // Less would be shown as 1.0.
    const double gain = direct->seconds.median / buffered->seconds.median;
    std::string text = gain < 1.05 ? std::string("nothing") : fmt::format("{:.1f}x", gain);
    if (hasFewRounds) return text + '?';
    return gain >= 1.05 && is_as_fast(*direct, *buffered) ? text + '~' : text;
}

std::string show_fit(const Quartiles& seconds) {
    constexpr double kSecondsOfVideo = 1.0 / 60.0;
    if (seconds.upper <= kSecondsOfVideo) return "yes";
    return seconds.lower > kSecondsOfVideo ? "no" : "~";
}

std::string describe_lack(const TransferTimes& transfer) {
    switch (transfer.state) {
        case TimedState::kNotVerified:
            return "not verified" + (transfer.reason == "no" ? "" : ": " + plain(transfer.reason));
        case TimedState::kFailed:
            return "failed: " + plain(transfer.reason);
        case TimedState::kNoTime:
            return "no time left; --within gives more";
        case TimedState::kInterrupted:
            return "interrupted";
        default:
            return "not timed";
    }
}

TimesRow row_of(const Times& times, const TransferTimes& transfer) {
    const Cell& cell = transfer.what.cell;
    const std::string format = kFormats[cell.format].name;
    const std::string column = kCapabilities[cell.capability].column;
    const TimedWay* best = fastest_of(transfer);
    if (!best) return {format, column, {describe_lack(transfer)}};
    std::vector<std::string> cells(kWayCount, "-");
    const TimedWay& winner = *fastest_there(times, transfer.what);
    for (const TimedWay& timed : transfer.ways) cells[timed.way] = show_speed(timed, winner);
    const bool hasFewRounds = best->rounds < kFewRounds;
    cells.push_back(show_gain(transfer.ways, hasFewRounds));
    cells.push_back(show_fit(best->seconds) + (hasFewRounds ? "?" : ""));
    return {format, column, std::move(cells)};
}

}  // namespace

std::string ImageSize::name() const {
    return std::to_string(height) + (width == height ? "" : "p");
}

std::optional<ImageSize> parse_size(std::string_view text) {
    for (const ImageSize& video : {ImageSize{1920, 1080}, ImageSize{3840, 2160}}) {
        if (video.name() == text) return video;
    }
    int side = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), side);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    if (side < 4 || side > 4096 || side % 4 != 0) return std::nullopt;
    return ImageSize{side, side};
}

Quartiles quartiles_of(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return {quantile_of_sorted(values, 0.25), quantile_of_sorted(values, 0.5),
            quantile_of_sorted(values, 0.75)};
}

std::vector<TimesTable> tables_of(const Times& times) {
    std::vector<TimesTable> tables;
    for (const TransferTimes& transfer : times.transfers) {
        const ImageSize& size = transfer.what.size;
        auto table = std::find_if(tables.begin(), tables.end(),
                                  [&](const TimesTable& each) { return each.size == size; });
        if (table == tables.end()) {
            const auto caption =
                fmt::format("Images of {} x {} per second", size.width, size.height);
            table = tables.insert(table, {size, caption, {}});
        }
        table->rows.push_back(row_of(times, transfer));
    }
    std::sort(tables.begin(), tables.end(), [](const TimesTable& a, const TimesTable& b) {
        return a.size.pixels() < b.size.pixels();
    });
    return tables;
}

}  // namespace texprobe::ctl
