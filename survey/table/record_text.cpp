#include "table/record_text.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <sstream>
#include <utility>
#include <vector>

namespace texprobe::survey {

namespace {

constexpr const char* kMeasuring = "measuring\n";
constexpr const char* kStarted = "started";
constexpr const char* kAgain = "again";

/// Records hold ASCII, and a use is one line.
std::string printable(std::string text) {
    for (char& c : text) {
        if (c < 0x20 || c > 0x7E) c = '?';
    }
    return text;
}

/// What the words before the verdict ask; nothing if that is not known.
std::optional<Question> find_question(const std::vector<std::string>& words) {
    const auto use = std::find_if(kUses.begin(), kUses.end(),
                                  [&](Use each) { return words[0] == name_of(each); });
    if (use == kUses.end() || (words.size() != 1 && words.size() != 3)) return std::nullopt;
    if (words.size() == 1) return Question(*use);
    const auto layout = find_layout(words[1], words[2]);
    return layout ? std::optional(Question(*use, *layout)) : std::nullopt;
}

/// Reads "filter wrong: why"; false for a line that is none.
bool read_line(const std::string& line, FormatRecord* record) {
    const std::size_t colon = line.find(": ");
    std::istringstream head(line.substr(0, colon));
    std::vector<std::string> words(std::istream_iterator<std::string>(head), {});
    if (words.size() < 2) return false;
    const bool isStarted = words.back() == kStarted;
    const auto verdict = find_verdict(words.back());
    words.pop_back();
    if (!verdict && !isStarted) return false;
    const auto question = find_question(words);
    if (!question) return true;
    const std::string text = colon == std::string::npos ? "" : line.substr(colon + 2);
    if (!isStarted) return record->uses.insert({*question, {*verdict, text}}).second;
    if (record->underWay) return false;
    record->underWay = UnderWay{*question, text == kAgain};
    return true;
}

}  // namespace

std::string write_record(const FormatRecord& record) {
    std::string text = record.isMeasuring ? kMeasuring : "";
    for (const auto& [question, judged] : record.uses) {
        text += name_of(question) + ' ' + name_of(judged.verdict);
        if (!judged.text.empty()) text += ": " + printable(judged.text);
        text += '\n';
    }
    if (record.underWay) {
        text += name_of(record.underWay->question) + ' ' + kStarted;
        if (record.underWay->isAgain) text += std::string(": ") + kAgain;
        text += '\n';
    }
    return text;
}

std::optional<FormatRecord> read_record(const std::string& text) {
    FormatRecord record;
    record.isMeasuring = text.rfind(kMeasuring, 0) == 0;
    std::istringstream stream(record.isMeasuring ? text.substr(std::strlen(kMeasuring)) : text);
    for (std::string line; std::getline(stream, line);) {
        if (!read_line(line, &record)) return std::nullopt;
    }
    const bool isBoth = record.underWay && record.uses.count(record.underWay->question) != 0;
    return isBoth ? std::nullopt : std::optional(std::move(record));
}

bool is_complete(const Format& format, Profile profile, const FormatRecord& record) {
    const std::vector<Question> questions = questions_of(format, profile);
    return !record.isMeasuring &&
           std::all_of(questions.begin(), questions.end(),
                       [&](const Question& question) { return record.uses.count(question) != 0; });
}

FormatRecord after_end(FormatRecord record) {
    if (record.underWay && record.underWay->isAgain) {
        record.uses[record.underWay->question] = {Verdict::kCrashed, ""};
    }
    return after_outside_end(std::move(record));
}

FormatRecord after_outside_end(FormatRecord record) {
    record.isMeasuring = false;
    record.underWay.reset();
    return record;
}

UnderWay begin_use(const FormatRecord& left, const Question& question) {
    return {question, left.underWay && left.underWay->question == question};
}

}  // namespace texprobe::survey
