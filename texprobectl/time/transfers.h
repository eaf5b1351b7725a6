// One transfer of one format at one size on the current context, in any of the ways.

#ifndef TEXPROBECTL_TIME_TRANSFERS_H
#define TEXPROBECTL_TIME_TRANSFERS_H

#include <memory>
#include <stdexcept>

#include "time/ways.h"

namespace texprobe::ctl {

/// The driver cannot do it; the text is a clause.
class TransferError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class StreamedTransfer {
public:
    StreamedTransfer() = default;
    StreamedTransfer(const StreamedTransfer&) = delete;
    StreamedTransfer& operator=(const StreamedTransfer&) = delete;
    virtual ~StreamedTransfer() = default;

    /// Streams so many images, and comes back when the last has arrived. Throws TransferError.
    virtual void stream(const Way& way, int images) = 0;
};

/// Whether the current context can do it.
bool is_offered(const Way& way);

/// Throws TransferError. Its textures, buffers and memory are gone with it: two images of its own,
/// three buffers and a texture, and the driver's own memory for them.
std::unique_ptr<StreamedTransfer> make_transfer(const TimedTransfer& what);

}  // namespace texprobe::ctl

#endif
