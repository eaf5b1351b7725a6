// One transfer of one format at one size on the current context, with any number of buffers.

#ifndef TEXPROBECTL_TIME_TRANSFERS_H
#define TEXPROBECTL_TIME_TRANSFERS_H

#include <functional>
#include <stdexcept>

#include "time/ways.h"

namespace texprobe::ctl {

/// The driver cannot do it; the text is a clause.
class TransferError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Streams so many images through so many buffers in turn, and comes back when the last has
/// arrived. Throws TransferError.
using StreamImages = std::function<void(std::size_t buffers, std::size_t images)>;

/// Throws TransferError. Its textures, buffers and memory are gone with the last copy: two images
/// of its own, three buffers and a texture, and the driver's own memory for them.
StreamImages make_transfer(const TimedTransfer& what);

}  // namespace texprobe::ctl

#endif
