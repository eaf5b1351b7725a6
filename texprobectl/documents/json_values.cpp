#include "documents/json_values.h"

#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <utility>

#include "records/plain_text.h"

namespace texprobe::ctl {

namespace {

using ParsedJson = nlohmann::json;

// Limits far above any document of ours; a hostile one must not take the memory.
constexpr std::size_t kDeepest = 8;
constexpr std::size_t kLongestValue = 65536;
constexpr std::size_t kMostMembers = 1024;
constexpr std::size_t kLongestElement = 1048576;

/// At most so many bytes of it.
std::string cut(const std::string& text, std::size_t longest) {
    return text.size() <= longest ? text : text.substr(0, longest) + "...";
}

/// How far the parser has read.
struct Progress {
    std::istream& text;
    std::string file;
    Position position;
    /// Where the value in hand begins. The parser sees the end of a number only after it.
    Position value;
    bool isInValue = false;
    bool isInString = false;
    bool isEscaped = false;
    std::size_t sinceLastValue = 0;
    /// Since the top-level member or the element of one began, which is kept until it ends.
    std::size_t sinceElement = 0;

    void look_for_value(char character) {
        constexpr std::string_view kBetween = " \t\r\n,:]}";
        constexpr std::string_view kOpening = "[{";
        if (isInString) {
            isInString = isEscaped || character != '"';
            isEscaped = !isEscaped && character == '\\';
        } else if (kBetween.find(character) != std::string_view::npos) {
            isInValue = false;
        } else {
            if (!isInValue || kOpening.find(character) != std::string_view::npos) value = position;
            isInValue = kOpening.find(character) == std::string_view::npos;
            isInString = character == '"';
        }
    }
};

/// The characters of a stream, counted. Copies share the stream, as input iterators do.
class CountedCharacters {
public:
    using difference_type = std::ptrdiff_t;
    using value_type = char;
    using pointer = const char*;
    using reference = const char&;
    using iterator_category = std::input_iterator_tag;

    CountedCharacters() = default;
    explicit CountedCharacters(Progress* progress) : progress_(progress) { read(); }

    reference operator*() const { return character_; }
    CountedCharacters& operator++() {
        count();
        read();
        return *this;
    }
    CountedCharacters operator++(int) {
        CountedCharacters old = *this;
        ++*this;
        return old;
    }
    bool operator==(const CountedCharacters& other) const { return progress_ == other.progress_; }
    bool operator!=(const CountedCharacters& other) const { return !(*this == other); }

private:
    void read() {
        const auto next = progress_->text.rdbuf()->sbumpc();
        if (std::istream::traits_type::eq_int_type(next, std::istream::traits_type::eof())) {
            progress_ = nullptr;
            return;
        }
        character_ = std::istream::traits_type::to_char_type(next);
        // The parser would take it for the end, and ignore the rest.
        if (character_ == '\0') fail(progress_->file, progress_->position, "not JSON: a NUL");
    }
    void count() {
        Progress& progress = *progress_;
        progress.look_for_value(character_);
        if (character_ == '\n') {
            ++progress.position.line;
            progress.position.column = 1;
        } else {
            ++progress.position.column;
        }
        if (++progress.sinceLastValue > kLongestValue) {
            fail(progress.file, progress.position,
                 "a value of more than " + std::to_string(kLongestValue) + " bytes");
        }
        if (++progress.sinceElement > kLongestElement) {
            fail(progress.file, progress.position,
                 "an element of more than " + std::to_string(kLongestElement) + " bytes");
        }
    }

    Progress* progress_ = nullptr;
    char character_ = '\0';
};

/// Builds values, and hands over those at the top.
class Builder : public ParsedJson::json_sax_t {
public:
    Builder(Progress& progress, const TopLevel& top) : progress_(progress), top_(top) {}

    bool null() override { return add({JsonValue::Null{}, position()}); }
    bool boolean(bool value) override { return add({value, position()}); }
    bool number_integer(number_integer_t value) override {
        return add({std::int64_t{value}, position()});
    }
    bool number_unsigned(number_unsigned_t value) override {
        if (value > static_cast<number_unsigned_t>(INT64_MAX)) {
            return add({static_cast<double>(value), position()});
        }
        return add({static_cast<std::int64_t>(value), position()});
    }
    bool number_float(number_float_t value, const string_t&) override {
        return add({value, position()});
    }
    bool string(string_t& value) override {
        refuse_nul(value);
        return add({std::move(value), position()});
    }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return open(JsonValue::Object{}); }
    bool start_array(std::size_t) override { return open(JsonValue::Array{}); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }

    bool key(string_t& name) override {
        auto& object = std::get<JsonValue::Object>(open_.back().value);
        refuse_nul(name);
        for (const auto& [other, value] : object) {
            if (other == name) {
                fail(progress_.file, position(), in_quotes(name) + " is given twice");
            }
        }
        if (object.size() == kMostMembers) fail(progress_.file, position(), "too many members");
        object.push_back({name, JsonValue{}});
        progress_.sinceLastValue = 0;
        if (open_.size() == 1) progress_.sinceElement = 0;
        return true;
    }

    bool parse_error(std::size_t, const std::string&, const ParsedJson::exception& error) override {
        // The library counts in its own way; the reason follows its last ": ".
        std::string text = error.what();
        const std::size_t reason = text.find("syntax error");
        if (reason != std::string::npos) text = text.substr(reason);
        constexpr std::size_t kLongest = 200;
        fail(progress_.file, position(), "not JSON: " + cut(text, kLongest));
    }

    Position begin() const { return begin_; }

private:
    Position position() const { return progress_.value; }

    /// No record has one, and every reader in C would take the text for a shorter one.
    void refuse_nul(const string_t& text) const {
        if (text.find('\0') != string_t::npos) {
            fail(progress_.file, position(), "a text with a NUL");
        }
    }

    bool open(decltype(JsonValue::value) value) {
        if (open_.empty() && !std::holds_alternative<JsonValue::Object>(value)) {
            fail(progress_.file, position(), "expected an object");
        }
        if (open_.size() == kDeepest) fail(progress_.file, position(), "nested too deeply");
        if (open_.empty()) begin_ = position();
        open_.push_back({std::move(value), position()});
        if (open_.size() == 2) tell_member(open_.back());
        progress_.sinceLastValue = 0;
        return true;
    }

    bool close() {
        JsonValue value = std::move(open_.back());
        open_.pop_back();
        const Position begin = value.position;
        // The top-level object has been handed over already, member by member.
        return open_.empty() || add({std::move(value.value), begin});
    }

    void tell_member(const JsonValue& value) const {
        top_.member(std::get<JsonValue::Object>(open_.front().value).back().name, value);
    }

    bool add(JsonValue value) {
        progress_.sinceLastValue = 0;
        if (open_.empty()) fail(progress_.file, value.position, "expected an object");
        JsonValue& parent = open_.back();
        if (auto* object = std::get_if<JsonValue::Object>(&parent.value)) {
            const bool isSimple = !value.as<JsonValue::Array>() && !value.as<JsonValue::Object>();
            if (open_.size() == 1 && isSimple) tell_member(value);
            if (open_.size() > 1) object->back().value = std::move(value);
            return true;
        }
        if (open_.size() == 2) {
            const auto& top = std::get<JsonValue::Object>(open_.front().value);
            top_.element(top.back().name, value);
            progress_.sinceElement = 0;
            return true;
        }
        auto& array = std::get<JsonValue::Array>(parent.value);
        if (array.size() == kMostMembers) fail(progress_.file, position(), "too many elements");
        array.push_back(std::move(value));
        return true;
    }

    Progress& progress_;
    const TopLevel& top_;
    std::vector<JsonValue> open_;
    Position begin_;
};

}  // namespace

const JsonValue* JsonValue::member(std::string_view name) const {
    const auto* object = as<Object>();
    if (!object) return nullptr;
    for (const auto& [key, found] : *object) {
        if (key == name) return &found;
    }
    return nullptr;
}

Position read_json(std::istream& text, const std::string& file, const TopLevel& top) {
    Progress progress{text, file, {}, {}};
    Builder builder(progress, top);
    ParsedJson::sax_parse(CountedCharacters(&progress), CountedCharacters(), &builder);
    return builder.begin();
}

std::string in_quotes(const std::string& text) {
    constexpr std::size_t kLongest = 40;
    return '"' + plain(cut(text, kLongest)) + '"';
}

void fail(const std::string& file, const Position& position, const std::string& message) {
    throw DocumentError(file + ":" + std::to_string(position.line) + ":" +
                        std::to_string(position.column) + ": " + message);
}

}  // namespace texprobe::ctl
