#include "table/record_text.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <string_view>
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

/// Takes the next word from the beginning; empty when there is none.
std::string_view take_word(std::string_view* text) {
    text->remove_prefix(std::min(text->find_first_not_of(' '), text->size()));
    const std::string_view word = text->substr(0, text->find(' '));
    text->remove_prefix(word.size());
    return word;
}

/// The question in a line, before its verdict: a use, or a use and the two words of a layout.
struct Words {
    std::array<std::string_view, 4> all;
    std::size_t count = 0;

    explicit Words(std::string_view text) {
        for (;;) {
            const std::string_view word = take_word(&text);
            if (word.empty()) return;
            // Words beyond these are of a question that is not known.
            all[std::min(count++, all.size() - 1)] = word;
        }
    }
    std::string_view last() const { return all[std::min(count, all.size()) - 1]; }
};

/// Nothing if that is not known.
std::optional<Question> find_question(const Words& words) {
    const auto use = std::find_if(kUses.begin(), kUses.end(),
                                  [&](Use each) { return words.all[0] == name_of(each); });
    if (use == kUses.end() || (words.count != 2 && words.count != 4)) return std::nullopt;
    if (words.count == 2) return Question(*use);
    const auto layout = find_layout(words.all[1], words.all[2]);
    return layout ? std::optional(Question(*use, *layout)) : std::nullopt;
}

/// Reads "filter wrong: why"; false for a line that is none.
bool read_line(std::string_view line, FormatRecord* record) {
    const std::size_t colon = line.find(": ");
    const Words words(line.substr(0, colon));
    if (words.count < 2) return false;
    const bool isStarted = words.last() == kStarted;
    const auto verdict = find_verdict(words.last());
    if (!verdict && !isStarted) return false;
    const auto question = find_question(words);
    if (!question) return true;
    const auto text = colon == std::string_view::npos ? std::string_view() : line.substr(colon + 2);
    if (!isStarted) return record->uses.insert({*question, {*verdict, std::string(text)}}).second;
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
    std::string_view rest = text;
    if (record.isMeasuring) rest.remove_prefix(std::strlen(kMeasuring));
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        if (!read_line(line, &record)) return std::nullopt;
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
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
