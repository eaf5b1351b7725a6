#include "records/record_texts.h"

#include <cstddef>
#include <utility>

namespace texprobe {

namespace {

/// Nothing for an object that is no string of ASCII.
std::optional<std::string> ascii_of(CFTypeRef object) {
    if (!object || CFGetTypeID(object) != CFStringGetTypeID()) return std::nullopt;
    const auto string = static_cast<CFStringRef>(object);
    std::string text(static_cast<std::size_t>(CFStringGetLength(string)) + 1, '\0');
    const bool isASCII = CFStringGetCString(string, text.data(), static_cast<CFIndex>(text.size()),
                                            kCFStringEncodingASCII);
    if (!isASCII) return std::nullopt;
    text.pop_back();
    return text;
}

void add_text(CFStringRef appID, CFStringRef key, const std::string& prefix, RecordTexts* texts) {
    auto name = ascii_of(key);
    if (!name || name->rfind(prefix, 0) != 0) return;
    const CFPropertyListRef value = CFPreferencesCopyAppValue(key, appID);
    if (auto text = ascii_of(value)) texts->emplace(std::move(*name), std::move(*text));
    if (value) CFRelease(value);
}

}  // namespace

std::optional<RecordTexts> read_record_texts(CFStringRef appID, const std::string& prefix) {
    if (!CFPreferencesAppSynchronize(appID)) return std::nullopt;
    RecordTexts texts;
    const CFArrayRef keys =
        CFPreferencesCopyKeyList(appID, kCFPreferencesCurrentUser, kCFPreferencesAnyHost);
    for (CFIndex i = 0; keys && i < CFArrayGetCount(keys); ++i) {
        add_text(appID, static_cast<CFStringRef>(CFArrayGetValueAtIndex(keys, i)), prefix, &texts);
    }
    if (keys) CFRelease(keys);
    return texts;
}

}  // namespace texprobe
