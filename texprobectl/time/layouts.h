// The layouts in which the product transfers its formats.

#ifndef TEXPROBECTL_TIME_LAYOUTS_H
#define TEXPROBECTL_TIME_LAYOUTS_H

#include "time/ways.h"

namespace texprobe::ctl {

/// Of an image, in the layout that the verdicts are about.
std::size_t image_bytes(const TimedTransfer& what);

}  // namespace texprobe::ctl

#endif
