#include "time/timed_child.h"

#include <TexProbe/driver.h>

#include <algorithm>
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

void say(const std::string& line) {
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

void say_way(const TimedWay& timed) {
    std::printf("way %s %d %.9g %.9g %.9g\n", kWays[timed.way].name, timed.rounds,
                timed.seconds.lower, timed.seconds.median, timed.seconds.upper);
}

void time_one(const TimedTransfer& what, double seconds) {
    say("begin " + what.text());
    if (seconds <= 0.0) {
        say("late");
        return;
    }
    try {
        const auto transfer = make_transfer(what);
        const auto times =
            time_ways(ways_of(what.transfer), seconds,
                      {[&](const Way& way, int images) { transfer->stream(way, images); },
                       seconds_now, [] { say("step"); }});
        std::printf("bytes %zu\n", image_bytes(what));
        for (const TimedWay& timed : times) say_way(timed);
        say("done");
    } catch (const TransferError& error) {
        say(std::string("failed ") + error.what());
    } catch (const std::bad_alloc&) {
        say("failed there is not enough memory");
    }
}

}  // namespace

int run_timed_child(const std::vector<std::string>& arguments) {
    if (arguments.size() < 2) return 2;
    std::uint32_t renderer = 0;
    const std::string& id = arguments[0];
    std::from_chars(id.data(), id.data() + id.size(), renderer, 16);
    const double end = seconds_now() + std::strtod(arguments[1].c_str(), nullptr);
    std::vector<TimedTransfer> transfers;
    for (std::size_t i = 2; i < arguments.size(); ++i) {
        const auto transfer = parse_transfer(arguments[i]);
        if (!transfer) return 2;
        transfers.push_back(*transfer);
    }
    std::stable_sort(transfers.begin(), transfers.end(),
                     [](const auto& a, const auto& b) { return image_bytes(a) < image_bytes(b); });
    std::vector<std::size_t> images;
    for (const TimedTransfer& transfer : transfers) images.push_back(image_bytes(transfer));
    const OffscreenContext context(static_cast<GLint>(renderer));
    for (const TimedTransfer& transfer : transfers) {
        time_one(transfer, (end - seconds_now()) * share_of_first(images));
        images.erase(images.begin());
    }
    return 0;
}

}  // namespace texprobe::ctl
