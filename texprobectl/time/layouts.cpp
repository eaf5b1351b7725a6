#include "time/layouts.h"

#include <measuring/pattern.h>

namespace texprobe::ctl {

std::size_t image_bytes(const TimedTransfer& what) {
    unsigned format = 0;
    unsigned type = 0;
    unsigned bytesPerPixel = 0;
    best_pixel_format(kFormats[what.format].internalFormat, &format, &type, &bytesPerPixel);
    return what.size.pixels() * bytesPerPixel;
}

}  // namespace texprobe::ctl
