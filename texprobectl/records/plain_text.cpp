#include "records/plain_text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace texprobe::ctl {

namespace {

struct Character {
    std::uint32_t code = 0;
    std::size_t bytes = 1;
};

/// The character that the text begins with; none where that is not UTF-8, as the standard has it:
/// neither cut, nor longer than needed, nor a surrogate, nor beyond the last one.
std::optional<Character> first_character(std::string_view text) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    if (byte(0) < 0x80) return Character{byte(0), 1};
    const std::size_t bytes = byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : 4;
    if (byte(0) < 0xC2 || byte(0) > 0xF4 || text.size() < bytes) return std::nullopt;
    std::uint32_t code = byte(0) & (0x7FU >> bytes);
    for (std::size_t i = 1; i < bytes; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) return std::nullopt;
        code = code << 6 | (byte(i) & 0x3FU);
    }
    constexpr std::array<std::uint32_t, 5> kLeast = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < kLeast[bytes] || isSurrogate || code > 0x10FFFF) return std::nullopt;
    return Character{code, bytes};
}

bool is_plain(std::uint32_t code) {
    struct Range {
        std::uint32_t first;
        std::uint32_t last;
    };
    constexpr Range kOthers[] = {
        {0x00, 0x1F},        // controls, line ends among them
        {0x7F, 0x9F},        // DEL and the second set of controls
        {0x061C, 0x061C},    // a direction mark
        {0x200B, 0x200F},    // without width, and direction marks
        {0x2028, 0x202E},    // line and paragraph ends, embedded and overridden directions
        {0x2060, 0x206F},    // without width, isolated directions
        {0xFEFF, 0xFEFF},    // without width
        {0xFFF9, 0xFFFB},    // annotations
        {0xE0000, 0xE007F},  // tags, which are invisible
    };
    return std::none_of(std::begin(kOthers), std::end(kOthers), [&](const Range& range) {
        return code >= range.first && code <= range.last;
    });
}

void make_plain(std::optional<std::string>* text) {
    if (*text) **text = plain(**text);
}

}  // namespace

std::string plain(std::string_view text) {
    std::string shown;
    shown.reserve(text.size());
    while (!text.empty()) {
        const auto character = first_character(text);
        const std::size_t bytes = character ? character->bytes : 1;
        if (character && is_plain(character->code)) {
            shown.append(text.substr(0, bytes));
        } else {
            shown += '?';
        }
        text.remove_prefix(bytes);
    }
    return shown;
}

std::string joined(const std::vector<std::string>& texts, const char* between) {
    std::string all;
    for (const std::string& text : texts) all += (all.empty() ? "" : between) + text;
    return all;
}

RecordSet plain(RecordSet set) {
    for (std::string* text : {&set.id, &set.rendererID, &set.systemBuild}) *text = plain(*text);
    for (auto* text : {&set.vendor, &set.glVersion, &set.renderer}) make_plain(text);
    for (Detail& detail : set.details) {
        if (auto* crashed = std::get_if<Crashed>(&detail.cause)) {
            crashed->signal = plain(crashed->signal);
        }
    }
    for (SurveyedProfile& profile : set.survey) {
        make_plain(&profile.glVersion);
        for (survey::FormatRecord& format : profile.formats) {
            for (auto& [use, judged] : format.uses) judged.text = plain(judged.text);
        }
    }
    return set;
}

}  // namespace texprobe::ctl
