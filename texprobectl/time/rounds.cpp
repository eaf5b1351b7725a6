#include "time/rounds.h"

#include <algorithm>
#include <cmath>

namespace texprobe::ctl {

namespace {

class Timing {
public:
    Timing(const std::vector<std::size_t>& ways, const Rounds& rounds)
        : ways_(ways), rounds_(rounds), seconds_(ways.size()) {}

    /// Decides how many images a step has, by the first way that asks the driver.
    void choose_images() {
        const auto asksDriver = [](std::size_t way) { return !kWays[way].isCopy; };
        const auto way = std::find_if(ways_.begin(), ways_.end(), asksDriver);
        const double lap = time_step(way == ways_.end() ? ways_.front() : *way, kMostBuffers);
        const double laps = std::ceil(kStepSeconds / std::max(lap, 1e-9));
        images_ = kMostBuffers * static_cast<int>(std::clamp(laps, 1.0, 1.0 * kMostLaps));
    }
    /// Each begins with another way: the one after a slow way may inherit its cold caches.
    void run_round() {
        for (std::size_t i = 0; i < ways_.size(); ++i) {
            const std::size_t at = (i + static_cast<std::size_t>(count_)) % ways_.size();
            seconds_[at].push_back(time_step(ways_[at], images_) / images_);
        }
        ++count_;
    }
    int count() const { return count_; }

    std::vector<WayRounds> results() const {
        std::vector<WayRounds> results;
        for (std::size_t i = 0; i < ways_.size(); ++i) results.push_back({ways_[i], seconds_[i]});
        return results;
    }

private:
    double time_step(std::size_t way, int images) const {
        const double begin = rounds_.now();
        rounds_.stream(kWays[way], images);
        const double seconds = rounds_.now() - begin;
        rounds_.betweenSteps();
        return seconds;
    }

    const std::vector<std::size_t>& ways_;
    const Rounds& rounds_;
    std::vector<std::vector<double>> seconds_;
    int images_ = kMostBuffers;
    int count_ = 0;
};

}  // namespace

std::vector<WayRounds> time_ways(const std::vector<std::size_t>& ways, double seconds,
                                 const Rounds& rounds) {
    const double begin = rounds.now();
    Timing timing(ways, rounds);
    timing.choose_images();
    const auto isDone = [&] {
        if (timing.count() == 0) return false;
        return timing.count() == kMostRoundsOfVisit || rounds.now() - begin >= seconds;
    };
    while (!isDone()) timing.run_round();
    return timing.results();
}

double share_of_first(const std::vector<std::size_t>& images) {
    // A step of a small image has a least duration, as if it had a megabyte more.
    const auto weight = [](std::size_t bytes) {
        return std::sqrt(static_cast<double>(bytes) + 1e6);
    };
    double all = 0.0;
    for (const std::size_t bytes : images) all += weight(bytes);
    return images.empty() ? 0.0 : weight(images.front()) / all;
}

}  // namespace texprobe::ctl
