// Counts the product's calls of the record store and passes them on. They also show whether the
// process is inside a test. The linker redirects them here (--wrap).

#include <CoreFoundation/CoreFoundation.h>
#include <RecordStore/location.h>

#include <cstdio>
#include <fstream>

#include "fakes.h"
#include "support/stored_records.h"

using fakes::call;

namespace {

std::string provisionalKey;
std::map<const void*, std::string> arrays;

std::string text_of(CFTypeRef string) {
    return CFStringGetCStringPtr(static_cast<CFStringRef>(string), kCFStringEncodingMacRoman);
}

std::string describe(CFTypeRef value) {
    if (!value) return "NULL";
    if (value == kCFBooleanTrue) return "true";
    if (value == kCFBooleanFalse) return "false";
    if (CFGetTypeID(value) == CFStringGetTypeID()) return '"' + text_of(value) + '"';
    double number = 0.0;
    CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberDoubleType, &number);
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", number);
    return text;
}

/// What others see at this moment.
void observe(CFStringRef appID) {
    if (!fakes::script().observes) return;
    std::ofstream file(fakes::beside_executable(".observed"), std::ios::app);
    file << "in " << fakes::current_test() << '\n';
    auto sets = texprobe::tests::read_store(fakes::script().records + "/records.sqlite3");
    for (const auto& [key, record] : sets[text_of(appID)]) {
        file << key << ' ' << record << '\n';
    }
}

}  // namespace

namespace texprobe::platform {

std::string records_directory() {
    return fakes::script().records;
}

}  // namespace texprobe::platform

extern "C" {

CFPropertyListRef __real_CFPreferencesCopyAppValue(CFStringRef, CFStringRef);
Boolean __real_CFPreferencesGetAppBooleanValue(CFStringRef, CFStringRef, Boolean*);
void __real_CFPreferencesSetAppValue(CFStringRef, CFPropertyListRef, CFStringRef);
void __real_CFPreferencesSetMultiple(CFDictionaryRef, CFArrayRef, CFStringRef, CFStringRef,
                                     CFStringRef);
Boolean __real_CFPreferencesAppSynchronize(CFStringRef);
CFArrayRef __real_CFArrayCreate(CFAllocatorRef, const void**, CFIndex, const CFArrayCallBacks*);

CFPropertyListRef __wrap_CFPreferencesCopyAppValue(CFStringRef key, CFStringRef appID) {
    call("CFPreferencesCopyAppValue(%s, %s)", text_of(key).c_str(), text_of(appID).c_str());
    return __real_CFPreferencesCopyAppValue(key, appID);
}

Boolean __wrap_CFPreferencesGetAppBooleanValue(CFStringRef key, CFStringRef appID,
                                               Boolean* exists) {
    call("CFPreferencesGetAppBooleanValue(%s, %s)", text_of(key).c_str(), text_of(appID).c_str());
    return __real_CFPreferencesGetAppBooleanValue(key, appID, exists);
}

void __wrap_CFPreferencesSetAppValue(CFStringRef key, CFPropertyListRef value, CFStringRef appID) {
    const std::string text = text_of(key);
    const bool isVerdict = fakes::current_test() == text;
    fakes::leave_test();
    call("CFPreferencesSetAppValue(%s, %s, %s)", text.c_str(), describe(value).c_str(),
         text_of(appID).c_str());
    if (value == kCFBooleanFalse && !isVerdict) provisionalKey = text;
    __real_CFPreferencesSetAppValue(key, value, appID);
}

void __wrap_CFPreferencesSetMultiple(CFDictionaryRef set, CFArrayRef removed, CFStringRef appID,
                                     CFStringRef user, CFStringRef host) {
    call("CFPreferencesSetMultiple(%s, {%s}, %s, %s, %s)", set ? "values" : "NULL",
         arrays[removed].c_str(), text_of(appID).c_str(),
         user == kCFPreferencesCurrentUser ? "current user" : "other user",
         host == kCFPreferencesAnyHost ? "any host" : "other host");
    __real_CFPreferencesSetMultiple(set, removed, appID, user, host);
}

Boolean __wrap_CFPreferencesAppSynchronize(CFStringRef appID) {
    call("CFPreferencesAppSynchronize(%s)", text_of(appID).c_str());
    const Boolean result = __real_CFPreferencesAppSynchronize(appID);
    if (!provisionalKey.empty()) fakes::enter_test(provisionalKey);
    provisionalKey.clear();
    observe(appID);
    return result;
}

CFArrayRef __wrap_CFArrayCreate(CFAllocatorRef allocator, const void** values, CFIndex count,
                                const CFArrayCallBacks* callBacks) {
    const CFArrayRef array = __real_CFArrayCreate(allocator, values, count, callBacks);
    std::string& keys = arrays[array];
    keys.clear();
    for (CFIndex i = 0; i < count; ++i) {
        if (i > 0) keys += ' ';
        keys += text_of(values[i]);
    }
    if (callBacks != &kCFTypeArrayCallBacks) keys += " without callbacks";
    return array;
}

}  // extern "C"
