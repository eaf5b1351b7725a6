#include "time/timed_child.h"

#include <fmt/format.h>
#include <measuring/offscreen_context.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <new>
#include <stdexcept>

#include "time/transfers.h"

namespace texprobe::ctl {

namespace {

double seconds_now() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

void report(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

/// False where the driver cannot do it.
bool time_one(const TimedTransfer& what, double seconds) {
    report("begin " + std::to_string(number_of(what.cell)));
    try {
        const StreamImages transfer = make_transfer(what);
        time_ways(seconds, {[&](std::size_t way, std::size_t images) {
                                transfer(kWays[way].buffers, images);
                            },
                            seconds_now,
                            [](std::size_t way, double each) {
                                report(fmt::format("way {} {:.9g}", way, each));
                            }});
    } catch (const std::runtime_error& error) {
        report(std::string("failed ") + error.what());
        return false;
    } catch (const std::bad_alloc&) {
        report("failed there is not enough memory");
        return false;
    }
    report("done");
    return true;
}

/// Each transfer has several visits, with all others in between, so that a machine that is slow for
/// a while spoils only one of them.
void time_all(std::vector<TimedTransfer> transfers, double end) {
    for (std::size_t visits = 3; visits > 0; --visits) {
        for (std::size_t i = 0; i < transfers.size();) {
            const double left = end - seconds_now();
            if (left <= 0.0) return;
            const std::size_t visitsLeft = visits * transfers.size() - i;
            const auto at = transfers.begin() + static_cast<std::ptrdiff_t>(i);
            if (time_one(*at, left / static_cast<double>(visitsLeft)))
                ++i;
            else
                transfers.erase(at);
        }
    }
}

}  // namespace

int run_timed_child(const std::vector<std::string>& arguments) {
    if (arguments.size() < 3) throw std::invalid_argument("time expects three arguments or more");
    const auto renderer = static_cast<std::uint32_t>(std::stoul(arguments[0], nullptr, 16));
    std::vector<TimedTransfer> transfers;
    for (std::size_t i = 3; i < arguments.size(); ++i) {
        transfers.push_back({cell_of(std::stoul(arguments[i])), parse_size(arguments[1]).value()});
    }
    const OffscreenContext context(static_cast<GLint>(renderer));
    time_all(std::move(transfers), seconds_now() + std::stod(arguments[2]));
    return 0;
}

void time_ways(double seconds, const Rounds& rounds) {
    const auto timeStep = [&](std::size_t way, std::size_t images) {
        const double begin = rounds.now();
        rounds.stream(way, images);
        return rounds.now() - begin;
    };
    const double end = rounds.now() + seconds;
    const double lap = std::max(timeStep(kNoBuffer, kMostBuffers), 1e-9);
    const double laps = std::clamp(std::ceil(0.002 / lap), 1.0, 100.0);
    const std::size_t images = kMostBuffers * static_cast<std::size_t>(laps);
    std::size_t round = 0;
    do {
        // Each begins with another way: the one after a slow way may inherit its cold caches.
        for (std::size_t i = 0; i < kWayCount; ++i) {
            const std::size_t way = (i + round) % kWayCount;
            rounds.report(way, timeStep(way, images) / static_cast<double>(images));
        }
        ++round;
    } while (rounds.now() < end);
}

}  // namespace texprobe::ctl
