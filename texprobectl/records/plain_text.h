// Text of strangers (drivers, documents, file names) as people may see it: nothing in it moves the
// cursor, changes the terminal, ends the line or turns the direction of the text after it.

#ifndef TEXPROBECTL_PLAIN_TEXT_H
#define TEXPROBECTL_PLAIN_TEXT_H

#include <string>
#include <string_view>
#include <vector>

#include "records/record_set.h"

namespace texprobe::ctl {

/// Each control character, direction or line mark, and byte that is not UTF-8 becomes a '?'.
std::string plain(std::string_view text);

/// "a, b, c".
std::string joined(const std::vector<std::string>& texts, const char* between = ", ");

/// The set with all of its texts plain.
RecordSet plain(RecordSet set);

}  // namespace texprobe::ctl

#endif
