// Strings: immutable and ASCII.

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "object.h"

using texprobe::platform::Lifetime;
using texprobe::platform::object_cast;
using texprobe::platform::ObjectKind;

namespace {

bool is_ascii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// The constant strings by their text, so that equal literals are one object.
class ConstantStrings {
public:
    CFStringRef get(const char* literal) {
        const std::lock_guard lock(mutex_);
        auto found = strings_.find(literal);
        if (found == strings_.end()) {
            auto string = std::make_unique<__CFString>(literal, Lifetime::kConstant);
            found = strings_.emplace(literal, std::move(string)).first;
        }
        return found->second.get();
    }

private:
    std::mutex mutex_;
    std::map<std::string, std::unique_ptr<__CFString>, std::less<>> strings_;
};

/// The text of one "%" conversion; nothing if it is unknown or its text is not ASCII. The argument
/// list is passed by pointer because each conversion continues where the last one stopped.
std::optional<std::string> convert(char conversion, std::va_list* arguments) {
    switch (conversion) {
        case '%':
            return "%";
        case 'x': {
            char digits[2 * sizeof(unsigned) + 1];
            std::snprintf(digits, sizeof digits, "%x", va_arg(*arguments, unsigned));
            return digits;
        }
        case 's': {
            const char* text = va_arg(*arguments, const char*);
            return text ? text : "(null)";
        }
        case '@': {
            const CFTypeRef object = va_arg(*arguments, CFTypeRef);
            if (!object) return "(null)";
            const auto* string = object_cast<__CFString>(object);
            return string ? std::optional(string->text) : std::nullopt;
        }
        default:
            return std::nullopt;
    }
}

std::optional<std::string> format_text(std::string_view format, std::va_list* arguments) {
    std::string text;
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%') {
            text += format[i];
            continue;
        }
        if (++i == format.size()) return std::nullopt;
        const auto converted = convert(format[i], arguments);
        if (!converted || !is_ascii(*converted)) return std::nullopt;
        text += *converted;
    }
    return text;
}

}  // namespace

CFTypeID CFStringGetTypeID(void) {
    return static_cast<CFTypeID>(ObjectKind::kString);
}

CFStringRef __CFStringMakeConstantString(const char* literal) {
    if (!literal || !is_ascii(literal)) return nullptr;
    // Never destroyed: static destructors may still use constants.
    static auto& constants = *new ConstantStrings;
    return constants.get(literal);
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char* text, CFStringEncoding encoding) {
    if (!text || encoding != kCFStringEncodingASCII || !is_ascii(text)) return nullptr;
    return new __CFString(text);
}

CFStringRef CFStringCreateWithFormat(CFAllocatorRef, CFDictionaryRef, CFStringRef format, ...) {
    const auto* string = object_cast<__CFString>(format);
    if (!string) return nullptr;
    std::va_list arguments;
    va_start(arguments, format);
    const auto text = format_text(string->text, &arguments);
    va_end(arguments);
    return text ? new __CFString(*text) : nullptr;
}

const char* CFStringGetCStringPtr(CFStringRef string, CFStringEncoding) {
    const auto* object = object_cast<__CFString>(string);
    return object ? object->text.c_str() : nullptr;
}

CFIndex CFStringGetLength(CFStringRef string) {
    const auto* object = object_cast<__CFString>(string);
    return object ? static_cast<CFIndex>(object->text.size()) : 0;
}

Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding) {
    const auto* object = object_cast<__CFString>(string);
    if (!object || !buffer || encoding != kCFStringEncodingASCII ||
        bufferSize <= static_cast<CFIndex>(object->text.size())) {
        return false;
    }
    object->text.copy(buffer, object->text.size());
    buffer[object->text.size()] = '\0';
    return true;
}

CFComparisonResult CFStringCompare(CFStringRef a, CFStringRef b, CFStringCompareFlags) {
    const int order = a->text.compare(b->text);
    if (order == 0) return kCFCompareEqualTo;
    return order < 0 ? kCFCompareLessThan : kCFCompareGreaterThan;
}
