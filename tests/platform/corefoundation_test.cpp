// Strings, numbers, booleans, arrays and dictionaries.

#include <CoreFoundation/CoreFoundation.h>
#include <CoreFoundation/object.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <functional>
#include <limits>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace texprobe::tests {
namespace {

CFStringRef ascii(const char* text) {
    return CFStringCreateWithCString(nullptr, text, kCFStringEncodingASCII);
}

/// The text of an owned string, which is released.
std::string take(CFStringRef string) {
    if (!string) return "(none)";
    std::string text = CFStringGetCStringPtr(string, kCFStringEncodingMacRoman);
    CFRelease(string);
    return text;
}

long references(CFTypeRef object) {
    return platform::object_of(object).references;
}

void run_in_four_threads(const std::function<void(int number)>& action) {
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) threads.emplace_back(action, i);
    for (std::thread& thread : threads) thread.join();
}

TEST(Strings, are_copies_of_any_ascii_text_and_cannot_be_made_of_anything_else) {
    std::string all;
    for (char c = 1; c < 127; ++c) all += c;
    all += char{127};
    const std::string before = all;
    const CFStringRef string = ascii(all.c_str());
    all[0] = 'X';
    EXPECT_EQ(take(string), before);
    EXPECT_EQ(take(ascii("")), "");
    for (const char* text : {"caf\xC3\xA9", "\x80", "\xFF", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(ascii(text), nullptr);
    }
    EXPECT_EQ(CFStringCreateWithCString(nullptr, "a", kCFStringEncodingMacRoman), nullptr);
    EXPECT_EQ(CFSTR("\xE9"), nullptr);
}

TEST(Strings, are_read_in_every_encoding_and_copied_as_ascii_into_a_buffer_that_holds_them) {
    const CFStringRef string = CFSTR("four");
    EXPECT_STREQ(CFStringGetCStringPtr(string, kCFStringEncodingASCII), "four");
    EXPECT_EQ(CFStringGetCStringPtr(string, 0), CFStringGetCStringPtr(string, 0x0600));
    EXPECT_EQ(CFStringGetLength(string), 4);
    char buffer[5];
    EXPECT_TRUE(CFStringGetCString(string, buffer, 5, kCFStringEncodingASCII));
    EXPECT_STREQ(buffer, "four");
    EXPECT_FALSE(CFStringGetCString(string, buffer, 4, kCFStringEncodingASCII));
    EXPECT_FALSE(CFStringGetCString(string, buffer, 5, 0x08000100));
}

TEST(Strings, compare_by_code_unit_and_case) {
    EXPECT_EQ(CFStringCompare(CFSTR("A"), CFSTR("a"), 0), kCFCompareLessThan);
    EXPECT_EQ(CFStringCompare(CFSTR("b"), CFSTR("aa"), 0), kCFCompareGreaterThan);
    EXPECT_EQ(CFStringCompare(CFSTR("a"), CFSTR("aa"), 0), kCFCompareLessThan);
    EXPECT_EQ(CFStringCompare(CFSTR(""), CFSTR(""), 0), kCFCompareEqualTo);
    const CFStringRef made = ascii("text");
    EXPECT_NE(made, CFSTR("text"));
    EXPECT_EQ(CFStringCompare(made, CFSTR("text"), 0), kCFCompareEqualTo);
    CFRelease(made);
}

TEST(Constants, of_the_same_text_are_one_object_that_survives_any_number_of_releases) {
    const CFStringRef constant = CFSTR("released");
    for (int i = 0; i < 3; ++i) CFRelease(constant);  // NOLINT(clang-analyzer-*): the point
    for (int i = 0; i < 3; ++i) CFRelease(kCFBooleanTrue);
    EXPECT_EQ(CFSTR("released"), constant);
    EXPECT_NE(CFSTR("released"), CFSTR("another"));
    EXPECT_STREQ(CFStringGetCStringPtr(constant, 0), "released");
    EXPECT_NE(kCFBooleanTrue, kCFBooleanFalse);
    CFRelease(nullptr);  // NOLINT(clang-analyzer-*): macOS would end the process
}

TEST(Constants, are_made_once_by_many_threads) {
    std::vector<CFStringRef> seen(4);
    run_in_four_threads([&seen](int number) {
        for (int i = 0; i < 1000; ++i) {
            seen.at(static_cast<std::size_t>(number)) = CFSTR("from many threads");
        }
    });
    for (const CFStringRef string : seen) EXPECT_EQ(string, seen[0]);
}

/// The text of a format and its arguments; "(none)" if it cannot be made.
template <typename... Arguments>
std::string formatted(CFStringRef format, Arguments... arguments) {
    return take(CFStringCreateWithFormat(nullptr, nullptr, format, arguments...));
}

TEST(FormattedStrings, have_four_conversions_and_cannot_be_made_of_anything_else) {
    EXPECT_EQ(formatted(CFSTR("%@.%x.%s"), CFSTR("org.example.tool"), 255u, "6.1-abc"),
              "org.example.tool.ff.6.1-abc");
    EXPECT_EQ(formatted(CFSTR("%x %x %x %x"), 0u, 0x00ABCDEFu, 0x80000001u, 0xFFFFFFFFu),
              "0 abcdef 80000001 ffffffff");
    EXPECT_EQ(formatted(CFSTR("%%a%%")), "%a%");
    EXPECT_EQ(formatted(CFSTR("%@ %s"), static_cast<CFStringRef>(nullptr),
                        static_cast<const char*>(nullptr)),
              "(null) (null)");
    EXPECT_EQ(formatted(CFSTR("%d"), 1), "(none)");
    EXPECT_EQ(formatted(CFSTR("%08x"), 1u), "(none)");
    EXPECT_EQ(formatted(CFSTR("100 %")), "(none)");
    EXPECT_EQ(formatted(nullptr), "(none)");
    EXPECT_EQ(formatted(CFSTR("%s"), "\xC3\xA9"), "(none)");
    EXPECT_EQ(formatted(CFSTR("%@"), kCFBooleanTrue), "(none)");
}

TEST(Numbers, keep_every_double_bit_for_bit_and_have_no_other_type) {
    using Limits = std::numeric_limits<double>;
    constexpr CFNumberType kInt = 9;
    for (const double value : {0.0, -0.0, 0.21, Limits::max(), Limits::denorm_min(),
                               Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()}) {
        const CFNumberRef number = CFNumberCreate(nullptr, kCFNumberDoubleType, &value);
        double read = 7;
        EXPECT_FALSE(CFNumberGetValue(number, kInt, &read));
        EXPECT_EQ(read, 7);
        EXPECT_TRUE(CFNumberGetValue(number, kCFNumberDoubleType, &read));
        EXPECT_EQ(std::bit_cast<std::uint64_t>(read), std::bit_cast<std::uint64_t>(value));
        CFRelease(number);
        EXPECT_EQ(CFNumberCreate(nullptr, kInt, &value), nullptr);
    }
    EXPECT_EQ(CFNumberCreate(nullptr, kCFNumberDoubleType, nullptr), nullptr);
}

TEST(Types, are_told_apart_by_their_ids) {
    const double value = 1;
    const CFNumberRef number = CFNumberCreate(nullptr, kCFNumberDoubleType, &value);
    const CFArrayRef array = CFArrayCreate(nullptr, nullptr, 0, &kCFTypeArrayCallBacks);
    EXPECT_EQ(CFGetTypeID(number), CFNumberGetTypeID());
    EXPECT_EQ(CFGetTypeID(CFSTR("")), CFStringGetTypeID());
    EXPECT_EQ(CFGetTypeID(kCFBooleanTrue), CFGetTypeID(kCFBooleanFalse));
    const std::set<CFTypeID> ids = {CFNumberGetTypeID(), CFStringGetTypeID(),
                                    CFGetTypeID(kCFBooleanTrue), CFGetTypeID(array)};
    EXPECT_EQ(ids.size(), 4u);
    CFRelease(array);
    CFRelease(number);
}

CFDictionaryRef create_dictionary(const void** keys, const void** values, CFIndex count,
                                  const CFDictionaryKeyCallBacks* ofKeys,
                                  const CFDictionaryValueCallBacks* ofValues) {
    return CFDictionaryCreate(nullptr, keys, values, count, ofKeys, ofValues);
}

TEST(Collections, own_a_reference_to_each_object_until_they_end) {
    const CFStringRef string = ascii("value");
    const void* values[] = {string, string};
    const CFArrayRef array = CFArrayCreate(nullptr, values, 2, &kCFTypeArrayCallBacks);
    const CFDictionaryRef dictionary = create_dictionary(
        values, values, 1, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    values[0] = nullptr;
    EXPECT_EQ(references(string), 5);
    EXPECT_EQ(CFArrayGetValueAtIndex(array, 0), string);
    CFRelease(array);
    EXPECT_EQ(references(string), 3);
    CFRelease(dictionary);
    EXPECT_EQ(references(string), 1);
    CFRelease(string);
}

TEST(Collections, need_the_callbacks_and_as_many_objects_as_they_say) {
    const void* one[] = {CFSTR("one")};
    const auto* keys = &kCFTypeDictionaryKeyCallBacks;
    const auto* values = &kCFTypeDictionaryValueCallBacks;
    EXPECT_EQ(CFArrayCreate(nullptr, one, 1, nullptr), nullptr);
    EXPECT_EQ(CFArrayCreate(nullptr, one, -1, &kCFTypeArrayCallBacks), nullptr);
    EXPECT_EQ(CFArrayCreate(nullptr, nullptr, 1, &kCFTypeArrayCallBacks), nullptr);
    EXPECT_EQ(create_dictionary(one, one, 1, nullptr, values), nullptr);
    EXPECT_EQ(create_dictionary(one, one, 1, keys, nullptr), nullptr);
    EXPECT_EQ(create_dictionary(one, one, -1, keys, values), nullptr);
    EXPECT_EQ(create_dictionary(nullptr, one, 1, keys, values), nullptr);
    EXPECT_EQ(create_dictionary(one, nullptr, 1, keys, values), nullptr);
    const CFDictionaryRef empty = create_dictionary(nullptr, nullptr, 0, keys, values);
    ASSERT_NE(empty, nullptr);
    CFRelease(empty);
}

TEST(References, are_counted_across_threads) {
    const CFStringRef string = ascii("shared");
    run_in_four_threads([string](int) {
        const void* values[] = {string};
        for (int i = 0; i < 1000; ++i) {
            CFRelease(CFArrayCreate(nullptr, values, 1, &kCFTypeArrayCallBacks));
        }
    });
    EXPECT_EQ(references(string), 1);
    CFRelease(string);
}

}  // namespace
}  // namespace texprobe::tests
