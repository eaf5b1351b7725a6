// The object behind each opaque type of the public header.

#ifndef TEXPROBE_PLATFORM_OBJECT_H
#define TEXPROBE_PLATFORM_OBJECT_H

#include <CoreFoundation/CoreFoundation.h>

#include <atomic>
#include <string>
#include <utility>
#include <vector>

namespace texprobe::platform {

enum class ObjectKind : CFTypeID { kArray = 1, kBoolean, kDictionary, kNumber, kString };

/// A constant lives for the whole process: releasing it does nothing.
enum class Lifetime : bool { kCounted, kConstant };

struct Object {
    constexpr Object(ObjectKind itsKind, Lifetime itsLifetime)
        : kind(itsKind), lifetime(itsLifetime) {}
    virtual ~Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    const ObjectKind kind;
    const Lifetime lifetime;
    mutable std::atomic<long> references{1};
};

/// The object behind a non-null reference.
inline const Object& object_of(CFTypeRef reference) {
    return *static_cast<const Object*>(reference);
}

/// The reference as an object of one kind; null for a null reference and for every other kind.
template <class Type>
const Type* object_cast(CFTypeRef reference) {
    if (!reference || object_of(reference).kind != Type::kKind) return nullptr;
    return static_cast<const Type*>(&object_of(reference));
}

void retain(CFTypeRef object);

}  // namespace texprobe::platform

// The names are the public header's.

struct __CFString final : texprobe::platform::Object {
    static constexpr auto kKind = texprobe::platform::ObjectKind::kString;
    explicit __CFString(std::string itsText, texprobe::platform::Lifetime itsLifetime =
                                                 texprobe::platform::Lifetime::kCounted)
        : Object(kKind, itsLifetime), text(std::move(itsText)) {}
    const std::string text;
};

struct __CFNumber final : texprobe::platform::Object {
    static constexpr auto kKind = texprobe::platform::ObjectKind::kNumber;
    explicit __CFNumber(double itsValue)
        : Object(kKind, texprobe::platform::Lifetime::kCounted), value(itsValue) {}
    const double value;
};

struct __CFBoolean final : texprobe::platform::Object {
    static constexpr auto kKind = texprobe::platform::ObjectKind::kBoolean;
    constexpr explicit __CFBoolean(bool itsValue)
        : Object(kKind, texprobe::platform::Lifetime::kConstant), value(itsValue) {}
    const bool value;
};

struct __CFArray final : texprobe::platform::Object {
    static constexpr auto kKind = texprobe::platform::ObjectKind::kArray;
    explicit __CFArray(std::vector<CFTypeRef> itsValues);
    ~__CFArray() override;
    const std::vector<CFTypeRef> values;
};

struct __CFDictionary final : texprobe::platform::Object {
    static constexpr auto kKind = texprobe::platform::ObjectKind::kDictionary;
    using Pairs = std::vector<std::pair<CFTypeRef, CFTypeRef>>;
    explicit __CFDictionary(Pairs itsPairs);
    ~__CFDictionary() override;
    const Pairs pairs;
};

#endif
