// Arrays and dictionaries. They own a reference to each of their objects.

#include "object.h"

using texprobe::platform::Lifetime;
using texprobe::platform::retain;

// Only their addresses matter: there is no other way to keep an object than to retain it.
const CFArrayCallBacks kCFTypeArrayCallBacks = {0};
const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks = {0};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks = {0};

__CFArray::__CFArray(std::vector<CFTypeRef> itsValues)
    : Object(kKind, Lifetime::kCounted), values(std::move(itsValues)) {
    for (const CFTypeRef value : values) retain(value);
}

__CFArray::~__CFArray() {
    for (const CFTypeRef value : values) CFRelease(value);
}

CFArrayRef CFArrayCreate(CFAllocatorRef, const void** values, CFIndex count,
                         const CFArrayCallBacks* callBacks) {
    if (callBacks != &kCFTypeArrayCallBacks || count < 0 || (count > 0 && !values)) return nullptr;
    return new __CFArray(std::vector<CFTypeRef>(values, values + count));
}

CFIndex CFArrayGetCount(CFArrayRef array) {
    return static_cast<CFIndex>(array->values.size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
    return array->values.at(static_cast<std::size_t>(index));
}

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
