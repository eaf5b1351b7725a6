// The public functions for preferences, on a store in a folder of this process.

#include <CoreFoundation/CoreFoundation.h>
#include <RecordStore/location.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "store/store_fixture.h"

namespace {

const std::filesystem::path& home_of_process() {
    static const texprobe::tests::ScratchFolder folder;
    return folder.path();
}

}  // namespace

std::string texprobe::platform::records_directory() {
    return home_of_process() / "records";
}

namespace texprobe::tests {
namespace {

using testing::Contains;
using testing::Not;
using testing::UnorderedElementsAre;

CFStringRef constant(const std::string& text) {
    return __CFStringMakeConstantString(text.c_str());
}

/// An application name that no other test in this process uses.
CFStringRef app_of_test() {
    return constant(testing::UnitTest::GetInstance()->current_test_info()->name());
}

void set(const char* key, CFTypeRef value) {
    CFPreferencesSetAppValue(constant(key), value, app_of_test());
}

void set_number(const char* key, double value) {
    const CFNumberRef number = CFNumberCreate(nullptr, kCFNumberDoubleType, &value);
    set(key, number);
    CFRelease(number);
}

void synchronize() {
    ASSERT_TRUE(CFPreferencesAppSynchronize(app_of_test()));
}

/// The value as this process sees it: its type and itself, or "none".
std::string seen(const char* key) {
    const CFTypeRef value = CFPreferencesCopyAppValue(constant(key), app_of_test());
    if (!value) return "none";
    std::string text = value == kCFBooleanTrue ? "boolean true" : "boolean false";
    if (CFGetTypeID(value) == CFStringGetTypeID()) {
        text = std::string("string ") +
               CFStringGetCStringPtr(static_cast<CFStringRef>(value), kCFStringEncodingASCII);
    } else if (CFGetTypeID(value) == CFNumberGetTypeID()) {
        double number = 0;
        EXPECT_TRUE(
            CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberDoubleType, &number));
        text = "double " + std::to_string(number);
    }
    CFRelease(value);
    return text;
}

/// The application's records on the disk.
std::string stored() {
    return query(home_of_process() / "records/records.sqlite3",
                 std::string("SELECT key, type, value FROM records WHERE application = '") +
                     CFStringGetCStringPtr(app_of_test(), kCFStringEncodingASCII) +
                     "' ORDER BY key");
}

/// "true", "false", or "none" for a value that cannot be read as a boolean.
std::string boolean(const char* key) {
    Boolean valid = 77;
    const Boolean value = CFPreferencesGetAppBooleanValue(constant(key), app_of_test(), &valid);
    EXPECT_EQ(CFPreferencesGetAppBooleanValue(constant(key), app_of_test(), nullptr), value);
    if (!valid) return value ? "invalid and true" : "none";
    return value ? "true" : "false";
}

TEST(Preferences, give_each_type_back_as_itself) {
    set("boolean", kCFBooleanTrue);
    set_number("double", 0.21);
    set("string", CFSTR("Mesa"));
    EXPECT_EQ(seen("boolean"), "boolean true");
    EXPECT_EQ(seen("double"), "double 0.210000");
    EXPECT_EQ(seen("string"), "string Mesa");
    EXPECT_EQ(seen("never"), "none");
}

TEST(Preferences, read_booleans_and_four_words_as_booleans_and_nothing_else) {
    set("yes", kCFBooleanTrue);
    set("no", kCFBooleanFalse);
    EXPECT_EQ(boolean("yes"), "true");
    EXPECT_EQ(boolean("no"), "false");
    EXPECT_EQ(seen("no"), "boolean false");
    EXPECT_EQ(boolean("never"), "none");
    const std::pair<const char*, std::vector<const char*>> rows[] = {
        {"true", {"true", "TRUE", "True", "yes", "YES", "yEs"}},
        {"false", {"false", "FALSE", "False", "no", "NO", "nO"}},
        {"none", {"", "1", "0", "y", "n", "true ", " true", "on", "off"}}};
    for (const auto& [expected, words] : rows) {
        for (const char* word : words) {
            set("word", constant(word));
            EXPECT_EQ(boolean("word"), expected) << word;
        }
    }
    for (const double number : {0.0, 1.0, 2.0}) {
        set_number("number", number);
        EXPECT_EQ(boolean("number"), "none") << number;
    }
}

TEST(Preferences, are_seen_at_once_and_stored_by_the_synchronization) {
    set("key", CFSTR("value"));
    set("other", CFSTR("value"));
    EXPECT_EQ(seen("key"), "string value");
    synchronize();
    EXPECT_EQ(stored(), "key|string|value\nother|string|value\n");
    set("key", kCFBooleanTrue);
    set("other", nullptr);
    EXPECT_EQ(seen("other"), "none");
    EXPECT_EQ(stored(), "key|string|value\nother|string|value\n");
    synchronize();
    EXPECT_EQ(stored(), "key|boolean|1\n");
    // Equal as numbers, but a different value.
    set_number("key", 1);
    synchronize();
    EXPECT_EQ(stored(), "key|double|1.0\n");
}

void set_multiple(CFDictionaryRef set, CFArrayRef removed,
                  CFStringRef user = kCFPreferencesCurrentUser,
                  CFStringRef host = kCFPreferencesAnyHost) {
    CFPreferencesSetMultiple(set, removed, app_of_test(), user, host);
}

TEST(Preferences, are_set_and_removed_by_lists_of_this_user_on_any_host) {
    for (const char* key : {"OLD", "STAYS"}) set(key, kCFBooleanTrue);
    const double number = 0.5;
    const void* keys[] = {CFSTR("NUMBER"), CFSTR("TEXT"), kCFBooleanTrue};
    const void* values[] = {CFNumberCreate(nullptr, kCFNumberDoubleType, &number), CFSTR("text"),
                            CFSTR("under no key")};
    const void* old[] = {CFSTR("OLD"), CFSTR("NEVER"), kCFBooleanTrue};
    const CFDictionaryRef added = CFDictionaryCreate(
        nullptr, keys, values, 3, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    CFRelease(values[0]);  // The dictionary has it.
    const CFArrayRef removed = CFArrayCreate(nullptr, old, 3, &kCFTypeArrayCallBacks);
    set_multiple(added, removed, CFSTR("somebody"));
    set_multiple(added, removed, kCFPreferencesCurrentUser, CFSTR("somewhere"));
    set_multiple(nullptr, nullptr);
    synchronize();
    EXPECT_EQ(stored(), "OLD|boolean|1\nSTAYS|boolean|1\n");
    set_multiple(added, nullptr);
    set_multiple(nullptr, removed);
    CFRelease(added);
    CFRelease(removed);
    EXPECT_EQ(seen("OLD"), "none");
    EXPECT_EQ(stored(), "OLD|boolean|1\nSTAYS|boolean|1\n");
    synchronize();
    EXPECT_EQ(stored(), "NUMBER|double|0.5\nSTAYS|boolean|1\nTEXT|string|text\n");
}

TEST(Preferences, of_one_application_are_not_those_of_another) {
    const CFStringRef another = CFSTR("another application");
    CFPreferencesSetAppValue(CFSTR("key"), kCFBooleanTrue, another);
    EXPECT_EQ(seen("key"), "none");
    set("key", kCFBooleanFalse);
    synchronize();
    EXPECT_EQ(query(home_of_process() / "records/records.sqlite3",
                    "SELECT count(*) FROM records WHERE application = 'another application'"),
              "0\n");
    EXPECT_TRUE(CFPreferencesGetAppBooleanValue(CFSTR("key"), another, nullptr));
}

TEST(Preferences, refuse_a_value_of_another_type_and_keep_the_old_one) {
    const std::string refusal =
        "*** texprobe records: key: only booleans, doubles and strings of at most 65536 bytes can "
        "be stored\n";
    const std::string longest(65536, 'x');
    const CFArrayRef array = CFArrayCreate(nullptr, nullptr, 0, &kCFTypeArrayCallBacks);
    set("key", kCFBooleanTrue);
    EXPECT_EQ(errors_of([array] { set("key", array); }), refusal);
    EXPECT_EQ(errors_of([&] { set("key", constant(longest + "x")); }), refusal);
    EXPECT_EQ(seen("key"), "boolean true");
    set("key", constant(longest));
    synchronize();
    EXPECT_EQ(stored(), "key|string|" + longest + "\n");
    CFRelease(array);
}

TEST(Preferences, have_no_value_under_a_null_key_or_application) {
    CFPreferencesSetAppValue(nullptr, kCFBooleanTrue, app_of_test());
    CFPreferencesSetAppValue(CFSTR("key"), kCFBooleanTrue, nullptr);
    EXPECT_EQ(CFPreferencesCopyAppValue(nullptr, app_of_test()), nullptr);
    EXPECT_EQ(CFPreferencesCopyAppValue(CFSTR("key"), nullptr), nullptr);
    Boolean valid = 77;
    EXPECT_FALSE(CFPreferencesGetAppBooleanValue(nullptr, nullptr, &valid));
    EXPECT_FALSE(valid);
    EXPECT_FALSE(CFPreferencesAppSynchronize(nullptr));
}

using Texts = std::set<std::string>;

Texts texts_of(CFArrayRef array) {
    Texts texts;
    if (!array) return texts;
    for (CFIndex i = 0; i < CFArrayGetCount(array); ++i) {
        texts.insert(CFStringGetCStringPtr(
            static_cast<CFStringRef>(CFArrayGetValueAtIndex(array, i)), kCFStringEncodingASCII));
    }
    CFRelease(array);
    return texts;
}

Texts keys_of(CFStringRef application) {
    return texts_of(
        CFPreferencesCopyKeyList(application, kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
}

Texts applications() {
    return texts_of(
        CFPreferencesCopyApplicationList(kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
}

TEST(PreferenceLists, name_what_was_set_and_not_what_was_removed) {
    const std::string app = "name_what_was_set_and_not_what_was_removed";
    EXPECT_THAT(keys_of(app_of_test()), UnorderedElementsAre());
    for (const char* key : {"A", "B"}) set(key, kCFBooleanTrue);
    EXPECT_THAT(keys_of(app_of_test()), UnorderedElementsAre("A", "B"));
    EXPECT_THAT(applications(), Contains(app));
    synchronize();
    set("A", nullptr);
    EXPECT_THAT(keys_of(app_of_test()), UnorderedElementsAre("B"));
    set("B", nullptr);
    synchronize();
    EXPECT_THAT(applications(), Not(Contains(app)));
}

TEST(PreferenceLists, name_what_other_processes_have_stored) {
    platform::records_directory();  // Makes the folder that the child shares.
    EXPECT_TRUE(in_child([] {
        CFPreferencesSetAppValue(CFSTR("KEY"), kCFBooleanTrue, CFSTR("of another"));
        return CFPreferencesAppSynchronize(CFSTR("of another")) != 0;
    }));
    EXPECT_THAT(applications(), Contains("of another"));
    EXPECT_THAT(keys_of(CFSTR("of another")), UnorderedElementsAre("KEY"));
}

TEST(PreferenceLists, are_null_for_other_users_and_hosts) {
    set("A", kCFBooleanTrue);
    EXPECT_EQ(CFPreferencesCopyApplicationList(CFSTR("x"), kCFPreferencesAnyHost), nullptr);
    EXPECT_EQ(CFPreferencesCopyKeyList(app_of_test(), kCFPreferencesCurrentUser, CFSTR("x")),
              nullptr);
    EXPECT_EQ(CFPreferencesCopyKeyList(nullptr, kCFPreferencesCurrentUser, kCFPreferencesAnyHost),
              nullptr);
}

}  // namespace
}  // namespace texprobe::tests
