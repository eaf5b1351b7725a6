#include "table/record_text.h"

#include <algorithm>
#include <sstream>

namespace texprobe::survey {

namespace {

constexpr const char* kMeasuring = "measuring\n";
constexpr const char* kAgain = "again";  // What is said of a use that is tried again.

/// Records hold ASCII, and a use is one line.
std::string printable(std::string text) {
    for (char& c : text) {
        if (c < 0x20 || c > 0x7E) c = '?';
    }
    return text;
}

/// Reads "filter wrong: why"; false for a line that is none.
bool read_line(const std::string& line, FormatRecord* record) {
    const std::size_t space = line.find(' ');
    if (space == std::string::npos) return false;
    const std::size_t colon = line.find(": ", space);
    const std::string name = line.substr(0, space);
    const auto verdict = find_verdict(line.substr(space + 1, colon - space - 1));
    if (!verdict) return false;
    for (const Use use : kUses) {
        if (name != name_of(use)) continue;
        const std::string text = colon == std::string::npos ? "" : line.substr(colon + 2);
        return record->uses.insert({use, {*verdict, text}}).second;
    }
    return true;
}

}  // namespace

std::string write_record(const FormatRecord& record) {
    if (record.isMeasuring) return kMeasuring;
    std::string text;
    for (const auto& [use, judged] : record.uses) {
        text += std::string(name_of(use)) + ' ' + name_of(judged.verdict);
        if (!judged.text.empty()) text += ": " + printable(judged.text);
        text += '\n';
    }
    return text;
}

std::optional<FormatRecord> read_record(const std::string& text) {
    FormatRecord record;
    if (text == kMeasuring) {
        record.isMeasuring = true;
        return record;
    }
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (!read_line(line, &record)) return std::nullopt;
    }
    return record;
}

bool is_complete(const Format& format, const FormatRecord& record) {
    return !record.isMeasuring && std::all_of(kUses.begin(), kUses.end(), [&](Use use) {
        const auto found = record.uses.find(use);
        const bool isJudged =
            found != record.uses.end() && found->second.verdict != Verdict::kStarted;
        return isJudged || !has_use(format, use);
    });
}

FormatRecord after_end(FormatRecord record) {
    for (auto& [use, judged] : record.uses) {
        if (judged == Judged{Verdict::kStarted, kAgain}) judged = {Verdict::kCrashed, ""};
    }
    return after_outside_end(std::move(record));
}

FormatRecord after_outside_end(FormatRecord record) {
    record.isMeasuring = false;
    for (auto use = record.uses.begin(); use != record.uses.end();) {
        use = use->second.verdict == Verdict::kStarted ? record.uses.erase(use) : std::next(use);
    }
    return record;
}

Judged begin_use(const FormatRecord& left, Use use) {
    const auto found = left.uses.find(use);
    const bool isLeft = found != left.uses.end() && found->second.verdict == Verdict::kStarted;
    return {Verdict::kStarted, isLeft ? kAgain : ""};
}

}  // namespace texprobe::survey
