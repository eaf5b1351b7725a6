// What is said of all sets together: what to rely on, and the words.

#ifndef TEXPROBECTL_RELY_H
#define TEXPROBECTL_RELY_H

#include "page/page_section.h"
#include "records/record_set.h"

namespace texprobe::ctl {

/// Of the tables.
PageSection explain_words(const RecordSets& sets);

/// By kind of context: what holds on each of the renderers.
PageSection rely_on(const RecordSets& sets);

}  // namespace texprobe::ctl

#endif
