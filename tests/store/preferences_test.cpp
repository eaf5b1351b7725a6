// The public functions for preferences, on a store in a folder of this process.

#include <CoreFoundation/CoreFoundation.h>
#include <RecordStore/location.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <set>
#include <string>

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

/// An application name that no other test in this process uses.
CFStringRef app_of_test() {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    return __CFStringMakeConstantString(test->name());
}

std::string stored(const std::string& key) {
    return query(home_of_process() / "records" / "records.sqlite3",
                 "SELECT type, value FROM records WHERE key = '" + key + "' AND application = '" +
                     CFStringGetCStringPtr(app_of_test(), 0) + "'");
}

void set_string(const char* key, const char* text) {
    const CFStringRef string = CFStringCreateWithCString(nullptr, text, kCFStringEncodingASCII);
    CFPreferencesSetAppValue(__CFStringMakeConstantString(key), string, app_of_test());
    CFRelease(string);
}

void set_number(const char* key, double value) {
    const CFNumberRef number = CFNumberCreate(nullptr, kCFNumberDoubleType, &value);
    CFPreferencesSetAppValue(__CFStringMakeConstantString(key), number, app_of_test());
    CFRelease(number);
}

/// "true", "false", or "none" for a value that cannot be read as a boolean.
std::string boolean(const char* key) {
    Boolean valid = 77;
    const Boolean value =
        CFPreferencesGetAppBooleanValue(__CFStringMakeConstantString(key), app_of_test(), &valid);
    EXPECT_EQ(
        CFPreferencesGetAppBooleanValue(__CFStringMakeConstantString(key), app_of_test(), nullptr),
        value);
    if (!valid) return value ? "invalid and true" : "none";
    return value ? "true" : "false";
}

TEST(Preferences, give_each_type_back_as_itself) {
    CFPreferencesSetAppValue(CFSTR("boolean"), kCFBooleanTrue, app_of_test());
    set_number("double", 0.21);
    set_string("string", "Mesa");

    const CFTypeRef boolean = CFPreferencesCopyAppValue(CFSTR("boolean"), app_of_test());
    EXPECT_EQ(boolean, kCFBooleanTrue);
    CFRelease(boolean);

    const CFTypeRef number = CFPreferencesCopyAppValue(CFSTR("double"), app_of_test());
    EXPECT_EQ(CFGetTypeID(number), CFNumberGetTypeID());
    double value = 0;
    EXPECT_TRUE(CFNumberGetValue(static_cast<CFNumberRef>(number), kCFNumberDoubleType, &value));
    EXPECT_EQ(value, 0.21);
    CFRelease(number);

    const CFTypeRef string = CFPreferencesCopyAppValue(CFSTR("string"), app_of_test());
    EXPECT_EQ(CFGetTypeID(string), CFStringGetTypeID());
    EXPECT_STREQ(CFStringGetCStringPtr(static_cast<CFStringRef>(string), 0), "Mesa");
    CFRelease(string);
}

TEST(Preferences, have_no_value_for_a_key_that_was_never_set) {
    EXPECT_EQ(CFPreferencesCopyAppValue(CFSTR("never"), app_of_test()), nullptr);
    EXPECT_EQ(boolean("never"), "none");
}

TEST(Preferences, read_booleans_and_four_words_as_booleans) {
    CFPreferencesSetAppValue(CFSTR("yes"), kCFBooleanTrue, app_of_test());
    CFPreferencesSetAppValue(CFSTR("no"), kCFBooleanFalse, app_of_test());
    EXPECT_EQ(boolean("yes"), "true");
    EXPECT_EQ(boolean("no"), "false");
    for (const char* word : {"true", "TRUE", "True", "yes", "YES", "yEs"}) {
        set_string("word", word);
        EXPECT_EQ(boolean("word"), "true") << word;
    }
    for (const char* word : {"false", "FALSE", "False", "no", "NO", "nO"}) {
        set_string("word", word);
        EXPECT_EQ(boolean("word"), "false") << word;
    }
}

TEST(Preferences, read_nothing_else_as_a_boolean) {
    for (const char* word : {"", "1", "0", "y", "n", "true ", " true", "on", "off"}) {
        set_string("word", word);
        EXPECT_EQ(boolean("word"), "none") << word;
    }
    for (const double number : {0.0, 1.0, 2.0}) {
        set_number("number", number);
        EXPECT_EQ(boolean("number"), "none") << number;
    }
}

TEST(Preferences, are_seen_at_once_and_stored_by_the_synchronization) {
    set_string("key", "value");
    const CFTypeRef seen = CFPreferencesCopyAppValue(CFSTR("key"), app_of_test());
    EXPECT_NE(seen, nullptr);
    CFRelease(seen);
    set_string("other", "value");
    ASSERT_TRUE(CFPreferencesAppSynchronize(app_of_test()));
    EXPECT_EQ(stored("key"), "string|value\n");
    EXPECT_EQ(stored("other"), "string|value\n");
    set_string("key", "later");
    EXPECT_EQ(stored("key"), "string|value\n");
    ASSERT_TRUE(CFPreferencesAppSynchronize(app_of_test()));
    EXPECT_EQ(stored("key"), "string|later\n");
}

TEST(Preferences, are_removed_by_a_null_value) {
    set_string("key", "value");
    ASSERT_TRUE(CFPreferencesAppSynchronize(app_of_test()));
    CFPreferencesSetAppValue(CFSTR("key"), nullptr, app_of_test());
    EXPECT_EQ(CFPreferencesCopyAppValue(CFSTR("key"), app_of_test()), nullptr);
    EXPECT_EQ(stored("key"), "string|value\n");
    ASSERT_TRUE(CFPreferencesAppSynchronize(app_of_test()));
    EXPECT_EQ(stored("key"), "");
}

TEST(Preferences, replace_a_value_by_one_of_another_type) {
    set_string("key", "text");
    ASSERT_TRUE(CFPreferencesAppSynchronize(app_of_test()));
    CFPreferencesSetAppValue(CFSTR("key"), kCFBooleanTrue, app_of_test());
    ASSERT_TRUE(CFPreferencesAppSynchronize(app_of_test()));
    EXPECT_EQ(stored("key"), "boolean|1\n");
    // Equal as numbers, but a different value.
    set_number("key", 1);
    ASSERT_TRUE(CFPreferencesAppSynchronize(app_of_test()));
    EXPECT_EQ(stored("key"), "double|1.0\n");
}

TEST(Preferences, in_a_list_are_removed_and_others_stay) {
    for (const char* key : {"a", "b", "c"}) set_string(key, "value");
    ASSERT_TRUE(CFPreferencesAppSynchronize(app_of_test()));
    const void* keys[] = {CFSTR("a"), CFSTR("never set"), CFSTR("c"), kCFBooleanTrue};
    const CFArrayRef list = CFArrayCreate(nullptr, keys, 4, &kCFTypeArrayCallBacks);
    CFPreferencesSetMultiple(nullptr, list, app_of_test(), kCFPreferencesCurrentUser,
                             kCFPreferencesAnyHost);
    CFRelease(list);
    EXPECT_EQ(CFPreferencesCopyAppValue(CFSTR("a"), app_of_test()), nullptr);
    EXPECT_EQ(stored("a"), "string|value\n");
    ASSERT_TRUE(CFPreferencesAppSynchronize(app_of_test()));
    EXPECT_EQ(stored("a"), "");
    EXPECT_EQ(stored("b"), "string|value\n");
    EXPECT_EQ(stored("c"), "");
}

TEST(Preferences, in_a_list_for_another_user_or_host_stay) {
    set_string("key", "value");
    const void* keys[] = {CFSTR("key")};
    const CFArrayRef list = CFArrayCreate(nullptr, keys, 1, &kCFTypeArrayCallBacks);
    const auto app = app_of_test();
    CFPreferencesSetMultiple(nullptr, list, app, CFSTR("somebody"), kCFPreferencesAnyHost);
    CFPreferencesSetMultiple(nullptr, list, app, kCFPreferencesCurrentUser, CFSTR("somewhere"));
    CFPreferencesSetMultiple(nullptr, nullptr, app, kCFPreferencesCurrentUser,
                             kCFPreferencesAnyHost);
    CFRelease(list);
    const CFTypeRef value = CFPreferencesCopyAppValue(CFSTR("key"), app);
    EXPECT_NE(value, nullptr);
    CFRelease(value);
}

TEST(Preferences, of_one_application_are_not_those_of_another) {
    set_string("key", "value");
    EXPECT_EQ(CFPreferencesCopyAppValue(CFSTR("key"), CFSTR("another application")), nullptr);
    ASSERT_TRUE(CFPreferencesAppSynchronize(CFSTR("another application")));
    CFPreferencesSetAppValue(CFSTR("key"), kCFBooleanTrue, CFSTR("another application"));
    ASSERT_TRUE(CFPreferencesAppSynchronize(app_of_test()));
    EXPECT_EQ(query(home_of_process() / "records" / "records.sqlite3",
                    "SELECT count(*) FROM records WHERE application = 'another application'"),
              "0\n");
}

TEST(Preferences, refuse_a_value_of_another_type_and_keep_the_old_one) {
    CFPreferencesSetAppValue(CFSTR("key"), kCFBooleanTrue, app_of_test());
    const CFArrayRef array = CFArrayCreate(nullptr, nullptr, 0, nullptr);
    EXPECT_EQ(errors_of([array] { CFPreferencesSetAppValue(CFSTR("key"), array, app_of_test()); }),
              "*** texprobe records: key: only booleans, doubles and strings of at most 65536 bytes"
              " can be stored\n");
    CFRelease(array);
    EXPECT_EQ(boolean("key"), "true");
    const std::string longest(65536, 'x');
    EXPECT_EQ(errors_of([&longest] { set_string("key", (longest + "x").c_str()); }),
              "*** texprobe records: key: only booleans, doubles and strings of at most 65536 bytes"
              " can be stored\n");
    EXPECT_EQ(boolean("key"), "true");
    set_string("key", longest.c_str());
    ASSERT_TRUE(CFPreferencesAppSynchronize(app_of_test()));
    EXPECT_EQ(stored("key"), "string|" + longest + "\n");
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

// Lists of applications and of keys, sets of several values, and the objects that these take.

using Texts = std::set<std::string>;

Texts texts_of(CFArrayRef array) {
    Texts texts;
    if (!array) return texts;
    for (CFIndex i = 0; i < CFArrayGetCount(array); ++i) {
        const auto string = static_cast<CFStringRef>(CFArrayGetValueAtIndex(array, i));
        char text[256];
        EXPECT_TRUE(CFStringGetCString(string, text, sizeof text, kCFStringEncodingASCII));
        texts.insert(text);
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
    const CFStringRef app = CFSTR("named");
    EXPECT_TRUE(keys_of(app).empty());
    CFPreferencesSetAppValue(CFSTR("A"), kCFBooleanTrue, app);
    CFPreferencesSetAppValue(CFSTR("B"), kCFBooleanTrue, app);
    EXPECT_THAT(keys_of(app), UnorderedElementsAre("A", "B"));
    EXPECT_THAT(applications(), Contains("named"));
    CFPreferencesAppSynchronize(app);
    CFPreferencesSetAppValue(CFSTR("A"), nullptr, app);
    EXPECT_THAT(keys_of(app), UnorderedElementsAre("B"));
}

TEST(PreferenceLists, name_what_other_processes_have_stored) {
    platform::records_directory();  // Makes the folder that the child shares.
    const pid_t child = start([] {
        CFPreferencesSetAppValue(CFSTR("KEY"), kCFBooleanTrue, CFSTR("of another"));
        return CFPreferencesAppSynchronize(CFSTR("of another")) ? 0 : 1;
    });
    ASSERT_EQ(status_of(child), 0);
    EXPECT_THAT(applications(), Contains("of another"));
    EXPECT_THAT(keys_of(CFSTR("of another")), UnorderedElementsAre("KEY"));
}

TEST(PreferenceLists, are_null_for_other_users_and_hosts) {
    CFPreferencesSetAppValue(CFSTR("A"), kCFBooleanTrue, CFSTR("some"));
    EXPECT_EQ(CFPreferencesCopyApplicationList(CFSTR("x"), kCFPreferencesAnyHost), nullptr);
    EXPECT_EQ(CFPreferencesCopyKeyList(CFSTR("some"), kCFPreferencesCurrentUser, CFSTR("x")),
              nullptr);
    EXPECT_EQ(CFPreferencesCopyKeyList(nullptr, kCFPreferencesCurrentUser, kCFPreferencesAnyHost),
              nullptr);
}

TEST(PreferenceLists, do_not_name_an_application_whose_records_are_gone) {
    CFPreferencesSetAppValue(CFSTR("A"), kCFBooleanTrue, CFSTR("gone"));
    CFPreferencesAppSynchronize(CFSTR("gone"));
    CFPreferencesSetAppValue(CFSTR("A"), nullptr, CFSTR("gone"));
    CFPreferencesAppSynchronize(CFSTR("gone"));
    EXPECT_THAT(applications(), Not(Contains("gone")));
}

TEST(PreferenceLists, SetMultiple_sets_and_removes_at_once) {
    const CFStringRef app = CFSTR("multiple");
    CFPreferencesSetAppValue(CFSTR("OLD"), kCFBooleanTrue, app);
    const double number = 0.5;
    const void* keys[] = {CFSTR("NUMBER"), CFSTR("TEXT")};
    const void* values[] = {CFNumberCreate(nullptr, kCFNumberDoubleType, &number), CFSTR("text")};
    const void* old = CFSTR("OLD");
    const CFDictionaryRef set = CFDictionaryCreate(
        nullptr, keys, values, 2, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    CFRelease(values[0]);  // The dictionary has it.
    const CFArrayRef removed = CFArrayCreate(nullptr, &old, 1, &kCFTypeArrayCallBacks);
    CFPreferencesSetMultiple(set, removed, app, kCFPreferencesCurrentUser, kCFPreferencesAnyHost);
    CFRelease(set);
    CFRelease(removed);
    EXPECT_THAT(keys_of(app), UnorderedElementsAre("NUMBER", "TEXT"));
    EXPECT_TRUE(CFPreferencesAppSynchronize(app));
    EXPECT_EQ(
        query(home_of_process() / "records" / "records.sqlite3",
              "SELECT key, type, value FROM records WHERE application = 'multiple' ORDER BY key"),
        "NUMBER|double|0.5\nTEXT|string|text\n");
}

TEST(Dictionary, needs_the_callbacks_and_as_many_keys_as_it_says) {
    const void* key = CFSTR("KEY");
    EXPECT_EQ(CFDictionaryCreate(nullptr, &key, &key, 1, nullptr, &kCFTypeDictionaryValueCallBacks),
              nullptr);
    EXPECT_EQ(CFDictionaryCreate(nullptr, &key, &key, -1, &kCFTypeDictionaryKeyCallBacks,
                                 &kCFTypeDictionaryValueCallBacks),
              nullptr);
    EXPECT_EQ(CFDictionaryCreate(nullptr, nullptr, nullptr, 1, &kCFTypeDictionaryKeyCallBacks,
                                 &kCFTypeDictionaryValueCallBacks),
              nullptr);
    const CFDictionaryRef empty =
        CFDictionaryCreate(nullptr, nullptr, nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                           &kCFTypeDictionaryValueCallBacks);
    ASSERT_NE(empty, nullptr);
    CFRelease(empty);
}

TEST(String, is_copied_into_a_buffer_that_holds_it) {
    const CFStringRef string = CFSTR("four");
    EXPECT_EQ(CFStringGetLength(string), 4);
    char buffer[5];
    EXPECT_TRUE(CFStringGetCString(string, buffer, 5, kCFStringEncodingASCII));
    EXPECT_STREQ(buffer, "four");
    EXPECT_FALSE(CFStringGetCString(string, buffer, 4, kCFStringEncodingASCII));
    EXPECT_FALSE(CFStringGetCString(string, buffer, 5, 0x08000100));
}

}  // namespace
}  // namespace texprobe::tests
