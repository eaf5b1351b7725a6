#include "time/times.h"

#include <algorithm>

namespace texprobe::ctl {

namespace {

bool has_buffers(const TimedWay& timed) {
    return kWays[timed.way].buffers > 0;
}

}  // namespace

const TimedWay* TransferTimes::find(std::size_t way) const {
    for (const TimedWay& timed : ways) {
        if (timed.way == way) return &timed;
    }
    return nullptr;
}

const TimedWay* TransferTimes::fastest() const {
    const TimedWay* best = nullptr;
    for (const TimedWay& timed : ways) {
        if (!has_buffers(timed)) continue;
        if (!best || timed.seconds.median < best->seconds.median) best = &timed;
    }
    return best;
}

bool TransferTimes::hasEqual() const {
    const TimedWay* best = fastest();
    return std::any_of(ways.begin(), ways.end(), [&](const TimedWay& timed) {
        return has_buffers(timed) && timed.way != best->way &&
               timed.seconds.lower <= best->seconds.upper;
    });
}

double images_per_second(const TimedWay& timed) {
    return timed.seconds.median > 0.0 ? 1.0 / timed.seconds.median : 0.0;
}

double TransferTimes::megabytes_per_second(const TimedWay& timed) const {
    return static_cast<double>(bytes) * images_per_second(timed) / 1e6;
}

std::optional<Spread> spread_of(const Times& times) {
    std::vector<double> spreads;
    for (const TransferTimes& transfer : times.transfers) {
        for (const TimedWay& timed : transfer.ways) {
            if (timed.rounds >= kFewRounds) spreads.push_back(timed.seconds.spread());
        }
    }
    if (spreads.empty()) return std::nullopt;
    return Spread{quantile(spreads, 0.5), quantile(spreads, 0.9)};
}

const TransferTimes* fastest_transfer(const Times& times, std::size_t format, const ImageSize& size,
                                      bool isIn) {
    const TransferTimes* best = nullptr;
    for (const TransferTimes& transfer : times.transfers) {
        const TimedTransfer& what = transfer.what;
        const bool isOne = what.format == format && what.size == size &&
                           is_upload(what.transfer) == isIn && transfer.fastest();
        if (!isOne) continue;
        if (!best || transfer.fastest()->seconds.median < best->fastest()->seconds.median) {
            best = &transfer;
        }
    }
    return best;
}

std::vector<ImageSize> sizes_of(const Times& times) {
    std::vector<ImageSize> sizes;
    for (const TransferTimes& transfer : times.transfers) {
        const ImageSize& size = transfer.what.size;
        if (std::find(sizes.begin(), sizes.end(), size) == sizes.end()) sizes.push_back(size);
    }
    std::sort(sizes.begin(), sizes.end(),
              [](const ImageSize& a, const ImageSize& b) { return a.pixels() < b.pixels(); });
    return sizes;
}

}  // namespace texprobe::ctl
