// One transfer of one format at one size on the current context, with any number of buffers.

#ifndef TEXPROBECTL_TIME_TRANSFERS_H
#define TEXPROBECTL_TIME_TRANSFERS_H

#include <functional>

#include "time/times.h"

namespace texprobe::ctl {

/// Streams so many images through so many buffers in turn, and comes back when the last has
/// arrived. Throws std::runtime_error, a clause, where the driver cannot do it.
using StreamImages = std::function<void(std::size_t buffers, std::size_t images)>;

/// Throws likewise. Its textures, buffers and memory are gone with the last copy: two images
/// of its own, three buffers and a texture, and the driver's own memory for them.
StreamImages make_transfer(const TimedTransfer& what);

}  // namespace texprobe::ctl

#endif
