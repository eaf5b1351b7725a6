// The public functions. They convert between CoreFoundation objects and the values of the store.

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "RecordStore/record_store.h"
#include "object.h"

using texprobe::platform::kLongestString;
using texprobe::platform::object_cast;
using texprobe::platform::RecordChanges;
using texprobe::platform::RecordStore;
using texprobe::platform::Value;

const CFStringRef kCFPreferencesCurrentUser = CFSTR("kCFPreferencesCurrentUser");
const CFStringRef kCFPreferencesAnyHost = CFSTR("kCFPreferencesAnyHost");

namespace {

std::optional<Value> stored_value(CFStringRef key, CFStringRef application) {
    const auto* keyString = object_cast<__CFString>(key);
    const auto* applicationString = object_cast<__CFString>(application);
    if (!keyString || !applicationString) return std::nullopt;
    return RecordStore::of_process().value(applicationString->text, keyString->text);
}

CFPropertyListRef create_object(const Value& value) {
    if (const auto* boolean = std::get_if<bool>(&value)) {
        return *boolean ? kCFBooleanTrue : kCFBooleanFalse;
    }
    if (const auto* number = std::get_if<double>(&value)) return new __CFNumber(*number);
    return new __CFString(std::get<std::string>(value));
}

std::optional<Value> value_of(CFPropertyListRef object) {
    if (const auto* boolean = object_cast<__CFBoolean>(object)) return boolean->value;
    if (const auto* number = object_cast<__CFNumber>(object)) return number->value;
    if (const auto* string = object_cast<__CFString>(object)) return string->text;
    return std::nullopt;
}

std::optional<bool> boolean_of(const Value& value) {
    if (const auto* boolean = std::get_if<bool>(&value)) return *boolean;
    const auto* string = std::get_if<std::string>(&value);
    if (!string) return std::nullopt;
    std::string text = *string;
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    if (text == "true" || text == "yes") return true;
    if (text == "false" || text == "no") return false;
    return std::nullopt;
}

/// No object removes the key. A key or object that cannot be stored is left out.
void add_change(CFTypeRef key, CFPropertyListRef object, RecordChanges* changes) {
    const auto* string = object_cast<__CFString>(key);
    if (!string) return;
    auto value = value_of(object);
    const auto* text = object_cast<__CFString>(object);
    if ((object && !value) || (text && text->text.size() > kLongestString)) {
        std::fprintf(stderr,
                     "*** texprobe records: %s: only booleans, doubles and strings of at most %zu"
                     " bytes can be stored\n",
                     string->text.c_str(), kLongestString);
        return;
    }
    changes->insert_or_assign(string->text, std::move(value));
}

bool is_any_host_of_user(CFStringRef userName, CFStringRef hostName) {
    return userName == kCFPreferencesCurrentUser && hostName == kCFPreferencesAnyHost;
}

/// The texts as an array of strings; null when there are none.
template <class Texts, class TextOf>
CFArrayRef create_array(const Texts& texts, TextOf textOf) {
    std::vector<const void*> strings;
    strings.reserve(texts.size());
    for (const auto& text : texts) strings.push_back(new __CFString(textOf(text)));
    if (strings.empty()) return nullptr;
    const CFArrayRef array = CFArrayCreate(
        nullptr, strings.data(), static_cast<CFIndex>(strings.size()), &kCFTypeArrayCallBacks);
    for (const void* string : strings) CFRelease(string);
    return array;
}

}  // namespace

CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef key, CFStringRef applicationID) {
    const auto value = stored_value(key, applicationID);
    return value ? create_object(*value) : nullptr;
}

Boolean CFPreferencesGetAppBooleanValue(CFStringRef key, CFStringRef applicationID,
                                        Boolean* keyExistsAndHasValidFormat) {
    const auto value = stored_value(key, applicationID);
    const auto boolean = value ? boolean_of(*value) : std::nullopt;
    if (keyExistsAndHasValidFormat) *keyExistsAndHasValidFormat = boolean.has_value();
    return boolean.value_or(false);
}

void CFPreferencesSetAppValue(CFStringRef key, CFPropertyListRef value, CFStringRef applicationID) {
    const auto* application = object_cast<__CFString>(applicationID);
    RecordChanges changes;
    add_change(key, value, &changes);
    if (application) RecordStore::of_process().change(application->text, changes);
}

void CFPreferencesSetMultiple(CFDictionaryRef keysToSet, CFArrayRef keysToRemove,
                              CFStringRef applicationID, CFStringRef userName,
                              CFStringRef hostName) {
    const auto* application = object_cast<__CFString>(applicationID);
    if (!application || !is_any_host_of_user(userName, hostName)) return;
    RecordChanges changes;
    if (const auto* set = object_cast<__CFDictionary>(keysToSet)) {
        for (const auto& [key, value] : set->pairs) add_change(key, value, &changes);
    }
    if (const auto* removed = object_cast<__CFArray>(keysToRemove)) {
        for (const void* key : removed->values) add_change(key, nullptr, &changes);
    }
    RecordStore::of_process().change(application->text, changes);
}

CFArrayRef CFPreferencesCopyKeyList(CFStringRef applicationID, CFStringRef userName,
                                    CFStringRef hostName) {
    const auto* application = object_cast<__CFString>(applicationID);
    if (!application || !is_any_host_of_user(userName, hostName)) return nullptr;
    return create_array(RecordStore::of_process().records(application->text),
                        [](const auto& record) { return record.first; });
}

CFArrayRef CFPreferencesCopyApplicationList(CFStringRef userName, CFStringRef hostName) {
    if (!is_any_host_of_user(userName, hostName)) return nullptr;
    return create_array(RecordStore::of_process().applications(),
                        [](const std::string& name) { return name; });
}

Boolean CFPreferencesAppSynchronize(CFStringRef applicationID) {
    const auto* application = object_cast<__CFString>(applicationID);
    return application && RecordStore::of_process().synchronize(application->text);
}
