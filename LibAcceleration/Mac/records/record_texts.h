// Texts of a record set, all at once: key by key each of hundreds of long ones would be copied
// three times, and on Linux the whole set would be read for a third of it.
//
// A file of each system's says how.

#ifndef TEXPROBE_RECORD_TEXTS_H
#define TEXPROBE_RECORD_TEXTS_H

#include <CoreFoundation/CoreFoundation.h>

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace texprobe {

/// By key.
using RecordTexts = std::map<std::string, std::string, std::less<>>;

/// The set's ASCII texts whose keys begin with `prefix`, which is not empty; read anew. Nothing
/// when the records cannot be read.
std::optional<RecordTexts> read_record_texts(CFStringRef appID, const std::string& prefix);

}  // namespace texprobe

#endif
