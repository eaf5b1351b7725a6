// JSON texts of strangers, read one element at a time.

#ifndef TEXPROBECTL_JSON_READER_H
#define TEXPROBECTL_JSON_READER_H

#include <functional>
#include <istream>
#include <stdexcept>
#include <string>

#include "documents/json_lines.h"

namespace texprobe::ctl {

/// A fault of a document. The text begins with the file, and then with the line and the
/// column up to which it was read, or with the path of the value: "record_sets[3].formats[2].name".
class DocumentError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Receives the parts of the top-level object.
struct TopLevel {
    /// A member, when its value begins: an object or an array is still empty.
    std::function<void(const std::string& name, const Json& value)> member;
    /// One element of a member that is an array. It is gone afterwards, so that memory does not
    /// grow with the number of elements.
    std::function<void(const std::string& name, std::size_t index, const Json& element)> element;
};

/// Reads one JSON text. Throws DocumentError for a text that is not JSON, is no object, gives a
/// member twice, is nested deeply, or has a NUL or something very long.
void read_json(std::istream& text, const std::string& file, const TopLevel& top);

/// A text in a message: short, and one line.
std::string in_quotes(const std::string& text);

}  // namespace texprobe::ctl

#endif
