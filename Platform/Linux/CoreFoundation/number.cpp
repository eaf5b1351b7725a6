// Numbers and booleans.

#include "object.h"

using texprobe::platform::object_cast;
using texprobe::platform::ObjectKind;

// Constant-initialized, so that static initializers in other files can use them.
static constinit __CFBoolean trueObject(true);
static constinit __CFBoolean falseObject(false);
const CFBooleanRef kCFBooleanTrue = &trueObject;
const CFBooleanRef kCFBooleanFalse = &falseObject;

CFTypeID CFNumberGetTypeID(void) {
    return static_cast<CFTypeID>(ObjectKind::kNumber);
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, const void* value) {
    if (type != kCFNumberDoubleType || !value) return nullptr;
    return new __CFNumber(*static_cast<const double*>(value));
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value) {
    const auto* object = object_cast<__CFNumber>(number);
    if (!object || type != kCFNumberDoubleType || !value) return false;
    *static_cast<double*>(value) = object->value;
    return true;
}
