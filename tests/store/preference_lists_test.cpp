// Lists of applications and of keys, sets of several values, and the objects that these take.

#include <CoreFoundation/CoreFoundation.h>
#include <RecordStore/location.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

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
