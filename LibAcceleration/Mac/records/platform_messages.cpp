#include "records/platform_messages.h"

namespace texprobe {

PlatformMessages::PlatformMessages() = default;
PlatformMessages::~PlatformMessages() = default;

}  // namespace texprobe
