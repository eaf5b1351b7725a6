#include "records/preferences.h"

#include <CoreFoundation/CoreFoundation.h>

#include <memory>

namespace texprobe::ctl {

namespace {

struct Release {
    void operator()(const void* object) const { CFRelease(object); }
};
/// An owned reference, or none.
using Owned = std::unique_ptr<const void, Release>;

CFStringRef string_in(const Owned& object) {
    return static_cast<CFStringRef>(object.get());
}

Owned make_string(const std::string& text) {
    return Owned(CFStringCreateWithCString(nullptr, text.c_str(), kCFStringEncodingASCII));
}

std::optional<std::string> text_of(CFStringRef string) {
    std::string text(static_cast<std::size_t>(CFStringGetLength(string)) + 1, '\0');
    if (!CFStringGetCString(string, text.data(), static_cast<CFIndex>(text.size()),
                            kCFStringEncodingASCII)) {
        return std::nullopt;
    }
    text.resize(text.find('\0'));
    return text;
}

std::vector<std::string> texts_of(const Owned& array) {
    std::vector<std::string> texts;
    const auto values = static_cast<CFArrayRef>(array.get());
    for (CFIndex i = 0; values && i < CFArrayGetCount(values); ++i) {
        auto text = text_of(static_cast<CFStringRef>(CFArrayGetValueAtIndex(values, i)));
        if (text) texts.push_back(std::move(*text));
    }
    return texts;
}

Owned copy_value(const std::string& application, const std::string& key) {
    const Owned id = make_string(application);
    const Owned name = make_string(key);
    if (!id || !name) return nullptr;
    return Owned(CFPreferencesCopyAppValue(string_in(name), string_in(id)));
}

Owned make_value(const std::variant<double, std::string>& value) {
    if (const auto* text = std::get_if<std::string>(&value)) return make_string(*text);
    return Owned(CFNumberCreate(nullptr, kCFNumberDoubleType, &std::get<double>(value)));
}

}  // namespace

std::vector<std::string> list_applications() {
    return texts_of(
        Owned(CFPreferencesCopyApplicationList(kCFPreferencesCurrentUser, kCFPreferencesAnyHost)));
}

std::vector<std::string> list_keys(const std::string& application) {
    const Owned id = make_string(application);
    if (!id) return {};
    return texts_of(Owned(
        CFPreferencesCopyKeyList(string_in(id), kCFPreferencesCurrentUser, kCFPreferencesAnyHost)));
}

bool refresh(const std::string& application) {
    const Owned id = make_string(application);
    return id && CFPreferencesAppSynchronize(string_in(id));
}

std::optional<bool> read_flag(const std::string& application, const std::string& key) {
    const Owned id = make_string(application);
    const Owned name = make_string(key);
    if (!id || !name) return std::nullopt;
    Boolean isRecorded = 0;
    const bool flag =
        CFPreferencesGetAppBooleanValue(string_in(name), string_in(id), &isRecorded) != 0;
    return isRecorded ? std::optional(flag) : std::nullopt;
}

std::optional<double> read_number(const std::string& application, const std::string& key) {
    const Owned value = copy_value(application, key);
    double number = 0.0;
    if (!value || CFGetTypeID(value.get()) != CFNumberGetTypeID() ||
        !CFNumberGetValue(static_cast<CFNumberRef>(value.get()), kCFNumberDoubleType, &number)) {
        return std::nullopt;
    }
    return number;
}

std::optional<std::string> read_text(const std::string& application, const std::string& key) {
    const Owned value = copy_value(application, key);
    if (!value || CFGetTypeID(value.get()) != CFStringGetTypeID()) return std::nullopt;
    return text_of(string_in(value));
}

bool write(const std::string& application, const KeyChanges& changes) {
    const Owned id = make_string(application);
    std::vector<Owned> owned;
    std::vector<const void*> keys;
    std::vector<const void*> values;
    std::vector<const void*> removed;
    for (const auto& [key, change] : changes) {
        owned.push_back(make_string(key));
        (change ? keys : removed).push_back(owned.back().get());
        if (!change) continue;
        owned.push_back(make_value(*change));
        values.push_back(owned.back().get());
    }
    for (const Owned& object : owned) {
        if (!object) return false;
    }
    const Owned set(
        CFDictionaryCreate(nullptr, keys.data(), values.data(), static_cast<CFIndex>(keys.size()),
                           &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    const Owned gone(CFArrayCreate(nullptr, removed.data(), static_cast<CFIndex>(removed.size()),
                                   &kCFTypeArrayCallBacks));
    if (!id || !set || !gone) return false;
    CFPreferencesSetMultiple(static_cast<CFDictionaryRef>(set.get()),
                             static_cast<CFArrayRef>(gone.get()), string_in(id),
                             kCFPreferencesCurrentUser, kCFPreferencesAnyHost);
    return CFPreferencesAppSynchronize(string_in(id)) != 0;
}

}  // namespace texprobe::ctl
