// JSON texts of strangers, read one element at a time: values that know where they stand, so that
// an error in one can be told with its line and column.

#ifndef TEXPROBECTL_JSON_VALUES_H
#define TEXPROBECTL_JSON_VALUES_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <istream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace texprobe::ctl {

struct Position {
    std::size_t line = 1;
    std::size_t column = 1;
};

/// An error in a document; the text begins with the file, the line and the column.
class DocumentError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct JsonMember;

struct JsonValue {
    struct Null {};
    using Array = std::vector<JsonValue>;
    using Object = std::vector<JsonMember>;
    std::variant<Null, bool, std::int64_t, double, std::string, Array, Object> value;
    /// Where it begins.
    Position position;

    template <class Type>
    const Type* as() const {
        return std::get_if<Type>(&value);
    }
    bool is_null() const { return std::holds_alternative<Null>(value); }
    /// The member of an object; null for everything else.
    const JsonValue* member(std::string_view name) const;
};

struct JsonMember {
    std::string name;
    JsonValue value;
};

/// Receives the parts of the top-level object.
struct TopLevel {
    /// A member, when its value begins: an object or an array is still empty.
    std::function<void(const std::string& name, const JsonValue& value)> member;
    /// One element of a member that is an array. It is gone afterwards, so that memory does not
    /// grow with the number of elements.
    std::function<void(const std::string& name, const JsonValue& element)> element;
};

/// Reads one JSON text, and returns where its object begins. Throws DocumentError, also for what
/// `top` throws through `fail`: a text that is not JSON, is no object, gives a member twice, is
/// nested deeply, or has a NUL or something very long.
Position read_json(std::istream& text, const std::string& file, const TopLevel& top);

/// A text in a message: short, and one line.
std::string in_quotes(const std::string& text);

[[noreturn]] void fail(const std::string& file, const Position& position,
                       const std::string& message);

}  // namespace texprobe::ctl

#endif
