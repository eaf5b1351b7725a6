#include <fmt/format.h>

#include <algorithm>

#include "records/plain_text.h"
#include "text/text_matrix.h"
#include "text/write_text.h"
#include "time/times.h"

namespace texprobe::ctl {

namespace {

/// The size of the answer: that of video, or the largest.
ImageSize size_of_answer(const Times& times) {
    constexpr ImageSize kVideo = {1920, 1080};
    const auto sizes = sizes_of(times);
    const bool hasVideo = std::find(sizes.begin(), sizes.end(), kVideo) != sizes.end();
    return hasVideo ? kVideo : sizes.back();
}

std::vector<std::size_t> formats_of(const Times& times) {
    std::vector<std::size_t> formats;
    for (const TransferTimes& transfer : times.transfers) {
        const std::size_t format = transfer.what.format;
        if (formats.empty() || formats.back() != format) formats.push_back(format);
    }
    return formats;
}

std::string describe_state(const TransferTimes& transfer) {
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
            return "timed";
    }
}

/// Why there is no number, where neither transfer has one: not verified only where neither is.
std::string describe_lack(const Times& times, std::size_t format, const ImageSize& size,
                          bool isIn) {
    std::string text = "not verified";
    for (const TransferTimes& transfer : times.transfers) {
        const TimedTransfer& what = transfer.what;
        if (what.format != format || what.size != size) continue;
        if (is_upload(what.transfer) != isIn) continue;
        if (transfer.state != TimedState::kNotVerified) text = "not timed, see below";
    }
    return text;
}

double ratio(const TransferTimes& transfer, std::size_t way) {
    const TimedWay* other = transfer.find(way);
    return other ? other->seconds.median / transfer.fastest()->seconds.median : 0.0;
}

char mark_of(const TransferTimes& transfer) {
    if (transfer.fastest()->rounds < kFewRounds) return '?';
    return transfer.hasEqual() ? '~' : ' ';
}

class TimesText {
public:
    TimesText(const Times& times, const Terminal& terminal, std::ostream& stream)
        : times_(times), terminal_(terminal), stream_(stream) {}

    void write() {
        stream_ << heading(plain(times_.renderer.value_or("unknown renderer"))) << '\n'
                << plain(times_.glVersion.value_or("unknown driver")) << '\n'
                << plain(times_.id) << "\n\n";
        write_answer();
        for (const std::size_t format : formats_of(times_)) write_details(format);
        write_legend();
    }

private:
    std::string heading(const std::string& text) const { return coloured(text, kBold, terminal_); }

    void write_answer() {
        const ImageSize size = size_of_answer(times_);
        stream_ << heading(fmt::format("The fastest verified ways for images of {} x {}",
                                       size.width, size.height))
                << '\n';
        stream_ << fmt::format("{:<26}{:<4}{:<14}{:>8}{:>9}{:>8}{:>8}\n", "", "", "way", "MB/s",
                               "images/s", "no buf", "memcpy");
        for (const std::size_t format : formats_of(times_)) {
            write_answer_of(format, size, true);
            write_answer_of(format, size, false);
        }
        stream_ << '\n';
    }

    void write_answer_of(std::size_t format, const ImageSize& size, bool isIn) {
        stream_ << fmt::format("{:<26}{:<4}", isIn ? kFormats[format].name : "",
                               isIn ? "in" : "out");
        const TransferTimes* best = fastest_transfer(times_, format, size, isIn);
        if (!best) {
            stream_ << describe_lack(times_, format, size, isIn) << '\n';
            return;
        }
        const TimedWay& fastest = *best->fastest();
        const std::string way = fmt::format("{}, {}", kCapabilities[best->what.transfer].column,
                                            kWays[fastest.way].column);
        stream_ << fmt::format("{:<14}{}{:>7.0f}{:>9.0f}{:>7.2f}x{:>7.2f}x\n", way, mark_of(*best),
                               best->megabytes_per_second(fastest), images_per_second(fastest),
                               ratio(*best, kNoBuffer), ratio(*best, kCopy));
    }

    void write_details(std::size_t format) {
        stream_ << heading(fmt::format("{:<27}", kFormats[format].name))
                << fmt::format("{:<21}{}\n", "    one buffer", "  three buffers");
        stream_ << fmt::format("{:<13}{:>6} {:>6} {:>6} {:>6} {:>6} {:>6} {:>6} {:>6} {:>8}\n",
                               "MB/s", "memcpy", "no buf", "kept", "fresh", "range", "kept",
                               "fresh", "range", "images/s");
        for (const TransferTimes& transfer : times_.transfers) {
            if (transfer.what.format == format) write_row(transfer);
        }
        stream_ << '\n';
    }

    void write_row(const TransferTimes& transfer) {
        stream_ << fmt::format("{:<6}{:<7}", transfer.what.size.name(),
                               kCapabilities[transfer.what.transfer].column);
        if (transfer.state != TimedState::kTimed) {
            stream_ << describe_state(transfer) << '\n';
            return;
        }
        const TimedWay* fastest = transfer.fastest();
        for (std::size_t way = 0; way < kWayCount; ++way) {
            const TimedWay* timed = transfer.find(way);
            const std::string number =
                timed ? fmt::format("{:.0f}", transfer.megabytes_per_second(*timed)) : "-";
            stream_ << fmt::format("{:>6}{}", number, timed && timed == fastest ? '*' : ' ');
        }
        stream_ << fmt::format("{:>8.0f}{}\n", images_per_second(*fastest),
                               fastest->rounds < kFewRounds ? "?" : "");
    }

    void write_legend() {
        stream_
            << "in, out: to and from the renderer. set, reset, get, read: as `show` has them.\n"
               "1, 3: so many pixel buffer objects in turn. kept: mapped as it is; fresh: after\n"
               "glBufferData without data; range: by glMapBufferRange, invalidated.\n"
               "no buf, memcpy: how often as fast as without a buffer, and as a copy in memory.\n"
               "*: the fastest with a buffer, whose images/s are shown. MB: 10^6 bytes.\n";
        const auto spread = spread_of(times_);
        if (!spread) return;
        stream_ << fmt::format(
            "?: fewer than three rounds, so its spread is not known; --within gives more.\n"
            "~: another way is as fast within its spread. Half of a way's rounds lay within\n"
            "{:.0f} % of its median, in every tenth way beyond {:.0f} %; smaller\n"
            "differences, and those that a second run does not repeat, mean nothing.\n",
            spread->middle * 100.0, spread->high * 100.0);
    }

    const Times& times_;
    const Terminal& terminal_;
    std::ostream& stream_;
};

}  // namespace

void write_times_text(const Times& times, const Terminal& terminal, std::ostream& stream) {
    TimesText(times, terminal, stream).write();
}

}  // namespace texprobe::ctl
