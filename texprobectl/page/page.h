// Record sets as one self-contained page for a browser.

#ifndef TEXPROBECTL_PAGE_H
#define TEXPROBECTL_PAGE_H

#include <ostream>
#include <vector>

#include "page/pictured_no.h"
#include "records/catalogue.h"
#include "time/times.h"

namespace texprobe::ctl {

/// `pictured` is empty, or has the failed transfers of each set. `times` follow the sets.
void write_page(const RecordSets& sets, const std::vector<PicturedNoes>& pictured,
                const std::vector<Times>& times, std::ostream& stream);

}  // namespace texprobe::ctl

#endif
