#include "object.h"

using texprobe::platform::retain;

__CFArray::__CFArray(std::vector<const void*> itsValues, const CFArrayCallBacks& itsCallbacks)
    : Object(kKind, texprobe::platform::Lifetime::kCounted),
      values(std::move(itsValues)),
      callbacks(itsCallbacks) {
    if (!callbacks.retain) return;
    for (const void* value : values) callbacks.retain(nullptr, value);
}

__CFArray::~__CFArray() {
    if (!callbacks.release) return;
    for (const void* value : values) callbacks.release(nullptr, value);
}

static const void* retain_value(CFAllocatorRef, const void* value) {
    retain(value);
    return value;
}

static void release_value(CFAllocatorRef, const void* value) {
    CFRelease(value);
}

const CFArrayCallBacks kCFTypeArrayCallBacks = {0, retain_value, release_value, nullptr, nullptr};

CFArrayRef CFArrayCreate(CFAllocatorRef, const void** values, CFIndex count,
                         const CFArrayCallBacks* callBacks) {
    if (count < 0 || (count > 0 && !values)) return nullptr;
    return new __CFArray(std::vector<const void*>(values, values + count),
                         callBacks ? *callBacks : CFArrayCallBacks{});
}

CFIndex CFArrayGetCount(CFArrayRef array) {
    return static_cast<CFIndex>(array->values.size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
    return array->values.at(static_cast<std::size_t>(index));
}
