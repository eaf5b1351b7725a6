#include "object.h"

using texprobe::platform::Lifetime;
using texprobe::platform::retain;

__CFDictionary::__CFDictionary(Pairs itsPairs)
    : Object(kKind, Lifetime::kCounted), pairs(std::move(itsPairs)) {
    for (const auto& [key, value] : pairs) {
        retain(key);
        retain(value);
    }
}

__CFDictionary::~__CFDictionary() {
    for (const auto& [key, value] : pairs) {
        CFRelease(key);
        CFRelease(value);
    }
}

static const void* retain_object(CFAllocatorRef, const void* object) {
    retain(object);
    return object;
}

static void release_object(CFAllocatorRef, const void* object) {
    CFRelease(object);
}

const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks = {
    0, retain_object, release_object, nullptr, nullptr, nullptr};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks = {
    0, retain_object, release_object, nullptr, nullptr};

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, const void** keys, const void** values,
                                   CFIndex numValues, const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks) {
    if (keyCallBacks != &kCFTypeDictionaryKeyCallBacks ||
        valueCallBacks != &kCFTypeDictionaryValueCallBacks || numValues < 0 ||
        (numValues > 0 && (!keys || !values))) {
        return nullptr;
    }
    __CFDictionary::Pairs pairs;
    for (CFIndex i = 0; i < numValues; ++i) pairs.emplace_back(keys[i], values[i]);
    return new __CFDictionary(std::move(pairs));
}
