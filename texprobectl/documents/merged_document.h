// The document of merged counts, as written and read back.

#ifndef TEXPROBECTL_MERGED_DOCUMENT_H
#define TEXPROBECTL_MERGED_DOCUMENT_H

#include <ostream>

#include "documents/document.h"
#include "documents/merge.h"

namespace texprobe::ctl {

inline constexpr const char* kMergedSchema = "texprobe-merged";

/// Adds one driver's counts. Throws DocumentError for counts that no sets can have.
void read_merged(const Json& value, const Expect& expect, Merged* merged);

/// Adds what is said of some machines as a whole.
void read_state(const Json& value, const Expect& expect, Merged* merged);

}  // namespace texprobe::ctl

#endif
