#include "time/ways.h"

#include <algorithm>
#include <charconv>

#include "records/record_set.h"

namespace texprobe::ctl {

std::optional<std::size_t> find_way(std::string_view name) {
    for (std::size_t i = 0; i < kWayCount; ++i) {
        if (name == kWays[i].name) return i;
    }
    return std::nullopt;
}

std::string ImageSize::name() const {
    return std::to_string(height) + (width == height ? "" : "p");
}

std::optional<ImageSize> parse_size(std::string_view text) {
    const auto usual = std::find_if(kUsualSizes.begin(), kUsualSizes.end(),
                                    [&](const ImageSize& size) { return size.name() == text; });
    if (usual != kUsualSizes.end()) return *usual;
    int side = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), side);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    if (side < kLeastSide || side > kMostSide || side % 4 != 0) return std::nullopt;
    return ImageSize{side, side};
}

std::string TimedTransfer::text() const {
    return std::string(kFormats[format].name) + ':' + kCapabilities[transfer].member + ':' +
           size.name();
}

std::optional<TimedTransfer> parse_transfer(std::string_view text) {
    const std::size_t first = text.find(':');
    const std::size_t second = text.find(':', first == text.npos ? first : first + 1);
    if (second == text.npos) return std::nullopt;
    const auto format = format_named(text.substr(0, first));
    const auto transfer = capability_named(text.substr(first + 1, second - first - 1));
    const auto size = parse_size(text.substr(second + 1));
    if (!format || !transfer || *transfer < kUploadSet || !size) return std::nullopt;
    return TimedTransfer{*format, *transfer, *size};
}

}  // namespace texprobe::ctl
