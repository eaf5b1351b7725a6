// Bytes as text, for pictures within a page.

#ifndef TEXPROBECTL_BASE64_H
#define TEXPROBECTL_BASE64_H

#include <cstdint>
#include <string>
#include <string_view>

namespace texprobe::ctl {

inline std::string base64(std::string_view bytes) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t group = 0;
        for (std::size_t j = i; j < i + 3; ++j) {
            group = group << 8 | (j < bytes.size() ? static_cast<std::uint8_t>(bytes[j]) : 0U);
        }
        for (std::size_t digit = 0; digit < 4; ++digit) {
            const bool isThere = i + digit <= bytes.size();
            text += isThere ? kDigits[(group >> (18 - 6 * digit)) & 63] : '=';
        }
    }
    return text;
}

}  // namespace texprobe::ctl

#endif
