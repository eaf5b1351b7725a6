#include "object.h"

namespace texprobe::platform {

void retain(CFTypeRef object) {
    if (object) object_of(object).references.fetch_add(1, std::memory_order_relaxed);
}

}  // namespace texprobe::platform

using texprobe::platform::Lifetime;
using texprobe::platform::Object;
using texprobe::platform::object_of;

void CFRelease(CFTypeRef object) {
    if (!object || object_of(object).lifetime == Lifetime::kConstant) return;
    if (object_of(object).references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete static_cast<const Object*>(object);
    }
}

CFTypeID CFGetTypeID(CFTypeRef object) {
    return static_cast<CFTypeID>(object_of(object).kind);
}
