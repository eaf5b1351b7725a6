#include "time/ways.h"

#include <charconv>

namespace texprobe::ctl {

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

}  // namespace texprobe::ctl
