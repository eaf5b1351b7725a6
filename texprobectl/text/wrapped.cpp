#include "text/wrapped.h"

#include "records/plain_text.h"

namespace texprobe::ctl {

std::string wrapped(const std::string& given, std::size_t indent, std::string_view separator) {
    constexpr std::size_t kWidth = 80;
    const std::string text = plain(given);
    std::string result;
    std::size_t column = indent;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t found = text.find(separator, at);
        const std::size_t end =
            found == std::string::npos ? text.size() : found + separator.size() - 1;
        const std::string word = text.substr(at, end - at);
        if (at > 0 && column + 1 + word.size() > kWidth) {
            result += '\n' + std::string(indent, ' ');
            column = indent;
        } else if (at > 0) {
            result += ' ';
            ++column;
        }
        result += word;
        column += word.size();
        at = end + 1;
    }
    return result;
}

}  // namespace texprobe::ctl
