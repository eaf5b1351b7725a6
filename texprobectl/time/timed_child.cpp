#include "time/timed_child.h"

#include <measuring/offscreen_context.h>

#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "time/rounds.h"
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

std::vector<std::size_t> ways_of(Capability transfer) {
    std::vector<std::size_t> ways;
    for (std::size_t i = 0; i < kWayCount; ++i) {
        if (is_of_transfer(kWays[i], transfer) && is_offered(kWays[i])) ways.push_back(i);
    }
    return ways;
}

void say_way(const WayRounds& way) {
    std::printf("way %s", kWays[way.way].name);
    for (const double seconds : way.seconds) std::printf(" %.9g", seconds);
    report("");
}

void time_one(const TimedTransfer& what, double seconds) {
    report("begin " + what.text());
    if (seconds <= 0.0) {
        report("late");
        return;
    }
    try {
        const auto transfer = make_transfer(what);
        const auto rounds =
            time_ways(ways_of(what.transfer), seconds,
                      {[&](const Way& way, int images) { transfer->stream(way, images); },
                       seconds_now, [] { report("step"); }});
        for (const WayRounds& way : rounds) say_way(way);
        report("done");
    } catch (const TransferError& error) {
        report(std::string("failed ") + error.what());
    } catch (const std::bad_alloc&) {
        report("failed there is not enough memory");
    }
}

}  // namespace

int run_timed_child(const std::vector<std::string>& arguments) {
    if (arguments.size() < 2) return 2;
    std::uint32_t renderer = 0;
    const std::string& id = arguments[0];
    std::from_chars(id.data(), id.data() + id.size(), renderer, 16);
    const double end = seconds_now() + std::strtod(arguments[1].c_str(), nullptr);
    std::vector<TimedTransfer> visits;
    for (std::size_t i = 2; i < arguments.size(); ++i) {
        const auto transfer = parse_transfer(arguments[i]);
        if (!transfer) return 2;
        visits.push_back(*transfer);
    }
    std::vector<std::size_t> images;
    images.reserve(visits.size());
    for (const TimedTransfer& visit : visits) images.push_back(visit.bytes());
    const OffscreenContext context(static_cast<GLint>(renderer));
    for (const TimedTransfer& visit : visits) {
        time_one(visit, (end - seconds_now()) * share_of_first(images));
        images.erase(images.begin());
    }
    return 0;
}

}  // namespace texprobe::ctl
