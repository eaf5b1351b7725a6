// Record sets as one self-contained page for a browser.

#ifndef TEXPROBECTL_PAGE_H
#define TEXPROBECTL_PAGE_H

#include <ostream>

#include "catalogue.h"

namespace texprobe::ctl {

void write_page(const RecordSets& sets, std::ostream& stream);

}  // namespace texprobe::ctl

#endif
