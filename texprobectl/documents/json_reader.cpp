#include "documents/json_reader.h"

#include <algorithm>
#include <set>
#include <streambuf>
#include <vector>

#include "records/plain_text.h"

namespace texprobe::ctl {

namespace {

// Limits far above any document of ours; a hostile one must not take the memory.
constexpr std::size_t kDeepest = 10;
constexpr std::size_t kLongestValue = 65536;
/// Of an object: each is compared with those before it.
constexpr std::size_t kMostMembers = 1024;
constexpr std::size_t kLongestElement = 1048576;

/// At most so many bytes of it.
std::string cut(const std::string& text, std::size_t longest) {
    return text.size() <= longest ? text : text.substr(0, longest) + "...";
}

/// The characters of a text on their way to the parser.
class CountedText : public std::streambuf {
public:
    CountedText(std::streambuf& text, const std::string& file) : text_(text), file_(file) {}

    [[noreturn]] void fail(const std::string& message) const {
        throw DocumentError(file_ + ":" + std::to_string(line_) + ":" +
                            std::to_string(std::max<std::size_t>(column_, 1)) + ": " + message);
    }
    void begin_value() { sinceValue_ = 0; }
    void begin_element() { sinceElement_ = 0; }

protected:
    int_type uflow() override {
        const int_type next = text_.sbumpc();
        if (traits_type::eq_int_type(next, traits_type::eof())) return next;
        if (isLineEnd_) {
            ++line_;
            column_ = 0;
        }
        ++column_;
        isLineEnd_ = next == '\n';
        // The parser would take it for the end, and ignore the rest.
        if (next == '\0') fail("not JSON: a NUL");
        if (++sinceValue_ > kLongestValue) {
            fail("a value of more than " + std::to_string(kLongestValue) + " bytes");
        }
        if (++sinceElement_ > kLongestElement) {
            fail("an element of more than " + std::to_string(kLongestElement) + " bytes");
        }
        return next;
    }

private:
    std::streambuf& text_;
    const std::string& file_;
    std::size_t line_ = 1;
    std::size_t column_ = 0;
    bool isLineEnd_ = false;
    std::size_t sinceValue_ = 0;
    /// Since the top-level member or the element of one began, which is kept until it ends.
    std::size_t sinceElement_ = 0;
};

/// Follows the parser: refuses hostile text, and hands over the values at the top.
class ParserWatch {
public:
    ParserWatch(CountedText& text, const TopLevel& top) : text_(text), top_(top) {}

    /// `depth` objects and arrays are open around the value. False for a value that is not kept.
    bool take(std::size_t depth, Json::parse_event_t event, const Json& parsed) {
        using Event = Json::parse_event_t;
        text_.begin_value();
        // No record has one, and every reader in C would take the text for a shorter one.
        const bool hasNul = parsed.is_string() &&
                            parsed.get_ref<const std::string&>().find('\0') != std::string::npos;
        if (hasNul) text_.fail("a text with a NUL");
        if (event == Event::key) {
            take_name(depth, parsed.get_ref<const std::string&>());
            return true;
        }
        if (event == Event::value) begin(depth, parsed);
        if (event == Event::object_start) open(depth, Json::object());
        if (event == Event::array_start) open(depth, Json::array());
        const bool isBegun = event == Event::object_start || event == Event::array_start;
        if (isBegun || depth != 2 || !isInArray_) return true;
        top_.element(name_, index_++, parsed);
        text_.begin_element();
        return false;
    }

private:
    void take_name(std::size_t depth, const std::string& name) {
        std::set<std::string>& names = names_[depth - 1];
        if (!names.insert(name).second) text_.fail(in_quotes(name) + " is given twice");
        if (names.size() > kMostMembers) text_.fail("too many members");
        if (depth > 1) return;
        name_ = name;
        text_.begin_element();
    }

    void begin(std::size_t depth, const Json& value) {
        if (depth == 0 && !value.is_object()) text_.fail("expected an object");
        if (depth == 1) top_.member(name_, value);
    }

    void open(std::size_t depth, const Json& empty) {
        begin(depth, empty);
        if (depth == kDeepest) text_.fail("nested too deeply");
        names_.resize(depth);
        names_.emplace_back();
        if (depth != 1) return;
        isInArray_ = empty.is_array();
        index_ = 0;
    }

    CountedText& text_;
    const TopLevel& top_;
    /// Of the objects that are open; none for an array.
    std::vector<std::set<std::string>> names_;
    /// The top-level member in hand.
    std::string name_;
    bool isInArray_ = false;
    std::size_t index_ = 0;
};

}  // namespace

void read_json(std::istream& text, const std::string& file, const TopLevel& top) {
    CountedText counted(*text.rdbuf(), file);
    ParserWatch watch(counted, top);
    std::istream stream(&counted);
    try {
        // Values that are not kept are left out of it.
        [[maybe_unused]] const Json rest =
            Json::parse(stream, [&](int depth, Json::parse_event_t event, const Json& parsed) {
                return watch.take(static_cast<std::size_t>(depth), event, parsed);
            });
    } catch (const Json::exception& error) {
        // The library names itself and counts in its own way; the reason follows.
        std::string reason = error.what();
        const std::size_t begin = reason.find("syntax error");
        if (begin != std::string::npos) reason = reason.substr(begin);
        counted.fail("not JSON: " + cut(reason, 200));
    }
}

std::string in_quotes(const std::string& text) {
    return '"' + plain(cut(text, 40)) + '"';
}

}  // namespace texprobe::ctl
