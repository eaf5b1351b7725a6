#include "records/platform_messages.h"

#include "RecordStore/messages.h"

namespace texprobe {

PlatformMessages::PlatformMessages() : former_(platform::keep_messages(&lines_)) {}

PlatformMessages::~PlatformMessages() {
    platform::keep_messages(former_);
}

}  // namespace texprobe
