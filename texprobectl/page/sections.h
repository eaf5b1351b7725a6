// The sections of the page beside those of the sets.

#ifndef TEXPROBECTL_PAGE_SECTIONS_H
#define TEXPROBECTL_PAGE_SECTIONS_H

#include "page/page_section.h"
#include "records/record_set.h"
#include "time/times.h"

namespace texprobe::ctl {

/// By kind of context: the uses that hold on every renderer.
PageSection rely_on(const RecordSets& sets);

/// The tables that `time` prints. `number` tells several sections of one page apart.
PageSection times_section(const Times& times, std::size_t number);

/// Of the tables.
PageSection explain_words(const RecordSets& sets);

}  // namespace texprobe::ctl

#endif
