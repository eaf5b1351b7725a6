// Strings, numbers, booleans and arrays.

#include <CoreFoundation/CoreFoundation.h>
#include <CoreFoundation/object.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
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

TEST(Strings, hold_every_ascii_character) {
    std::string all;
    for (char c = 1; c < 127; ++c) all += c;
    all += char{127};
    EXPECT_EQ(take(ascii(all.c_str())), all);
    EXPECT_EQ(take(ascii("")), "");
}

TEST(Strings, cannot_be_made_of_anything_else) {
    for (const char* text : {"caf\xC3\xA9", "\x80", "\xFF", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(ascii(text), nullptr);
    }
    EXPECT_EQ(CFStringCreateWithCString(nullptr, "a", kCFStringEncodingMacRoman), nullptr);
    EXPECT_EQ(CFSTR("\xE9"), nullptr);
}

TEST(Strings, are_copies_of_their_text) {
    char text[] = "before";
    const CFStringRef string = ascii(text);
    text[0] = 'X';
    EXPECT_EQ(take(string), "before");
}

TEST(Strings, are_read_as_the_same_text_in_every_encoding) {
    const CFStringRef string = CFSTR("text");
    EXPECT_STREQ(CFStringGetCStringPtr(string, kCFStringEncodingASCII), "text");
    EXPECT_EQ(CFStringGetCStringPtr(string, 0), CFStringGetCStringPtr(string, 0x0600));
}

TEST(Strings, compare_by_code_unit_and_case) {
    EXPECT_EQ(CFStringCompare(CFSTR("a"), CFSTR("a"), 0), kCFCompareEqualTo);
    EXPECT_EQ(CFStringCompare(CFSTR("A"), CFSTR("a"), 0), kCFCompareLessThan);
    EXPECT_EQ(CFStringCompare(CFSTR("b"), CFSTR("aa"), 0), kCFCompareGreaterThan);
    EXPECT_EQ(CFStringCompare(CFSTR("a"), CFSTR("aa"), 0), kCFCompareLessThan);
    EXPECT_EQ(CFStringCompare(CFSTR(""), CFSTR(""), 0), kCFCompareEqualTo);
    const CFStringRef made = ascii("text");
    EXPECT_NE(made, CFSTR("text"));
    EXPECT_EQ(CFStringCompare(made, CFSTR("text"), 0), kCFCompareEqualTo);
    CFRelease(made);
}

TEST(ConstantStrings, of_the_same_text_are_the_same_object) {
    EXPECT_EQ(CFSTR("constant"), CFSTR("constant"));
    EXPECT_NE(CFSTR("constant"), CFSTR("another"));
}

TEST(ConstantStrings, survive_any_number_of_releases) {
    const CFStringRef constant = CFSTR("released");
    for (int i = 0; i < 3; ++i) CFRelease(constant);  // NOLINT(clang-analyzer-*): the point
    EXPECT_EQ(CFSTR("released"), constant);
    EXPECT_STREQ(CFStringGetCStringPtr(constant, 0), "released");
}

TEST(ConstantStrings, are_made_once_by_many_threads) {
    std::vector<std::thread> threads;
    threads.reserve(4);
    std::vector<CFStringRef> seen(4);
    for (CFStringRef& string : seen) {
        threads.emplace_back([&string] {
            for (int i = 0; i < 1000; ++i) string = CFSTR("from many threads");
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (const CFStringRef string : seen) EXPECT_EQ(string, seen[0]);
}

/// The text of a format and its arguments; "(none)" if it cannot be made.
template <typename... Arguments>
std::string formatted(CFStringRef format, Arguments... arguments) {
    return take(CFStringCreateWithFormat(nullptr, nullptr, format, arguments...));
}

TEST(FormattedStrings, have_four_conversions) {
    EXPECT_EQ(formatted(CFSTR("%@.%x.%s"), CFSTR("org.example.tool"), 255u, "6.1-abc"),
              "org.example.tool.ff.6.1-abc");
    EXPECT_EQ(formatted(CFSTR("%x %x %x %x"), 0u, 0x00ABCDEFu, 0x80000001u, 0xFFFFFFFFu),
              "0 abcdef 80000001 ffffffff");
    EXPECT_EQ(formatted(CFSTR("%%a%%")), "%a%");
    EXPECT_EQ(formatted(CFSTR("%@ %s"), static_cast<CFStringRef>(nullptr),
                        static_cast<const char*>(nullptr)),
              "(null) (null)");
}

TEST(FormattedStrings, cannot_be_made_of_anything_else) {
    EXPECT_EQ(formatted(CFSTR("%d"), 1), "(none)");
    EXPECT_EQ(formatted(CFSTR("%08x"), 1u), "(none)");
    EXPECT_EQ(formatted(CFSTR("100 %")), "(none)");
    EXPECT_EQ(formatted(nullptr), "(none)");
    EXPECT_EQ(formatted(CFSTR("%s"), "\xC3\xA9"), "(none)");
    EXPECT_EQ(formatted(CFSTR("%@"), kCFBooleanTrue), "(none)");
}

TEST(Numbers, keep_every_double_bit_for_bit) {
    using Limits = std::numeric_limits<double>;
    for (const double value : {0.0, -0.0, 0.21, Limits::max(), Limits::denorm_min(),
                               Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()}) {
        const CFNumberRef number = CFNumberCreate(nullptr, kCFNumberDoubleType, &value);
        double read = 7;
        EXPECT_TRUE(CFNumberGetValue(number, kCFNumberDoubleType, &read));
        EXPECT_EQ(std::bit_cast<std::uint64_t>(read), std::bit_cast<std::uint64_t>(value));
        CFRelease(number);
    }
}

TEST(Numbers, of_another_type_are_neither_made_nor_read) {
    constexpr CFNumberType kInt = 9;
    const double value = 1;
    EXPECT_EQ(CFNumberCreate(nullptr, kInt, &value), nullptr);
    EXPECT_EQ(CFNumberCreate(nullptr, kCFNumberDoubleType, nullptr), nullptr);
    const CFNumberRef number = CFNumberCreate(nullptr, kCFNumberDoubleType, &value);
    double untouched = 7;
    EXPECT_FALSE(CFNumberGetValue(number, kInt, &untouched));
    EXPECT_EQ(untouched, 7);
    CFRelease(number);
}

TEST(Types, are_told_apart_by_their_ids) {
    const double value = 1;
    const CFNumberRef number = CFNumberCreate(nullptr, kCFNumberDoubleType, &value);
    const CFArrayRef array = CFArrayCreate(nullptr, nullptr, 0, nullptr);
    EXPECT_EQ(CFGetTypeID(number), CFNumberGetTypeID());
    EXPECT_EQ(CFGetTypeID(CFSTR("")), CFStringGetTypeID());
    EXPECT_NE(CFNumberGetTypeID(), CFStringGetTypeID());
    EXPECT_EQ(CFGetTypeID(kCFBooleanTrue), CFGetTypeID(kCFBooleanFalse));
    EXPECT_NE(CFGetTypeID(kCFBooleanTrue), CFNumberGetTypeID());
    EXPECT_NE(CFGetTypeID(kCFBooleanTrue), CFStringGetTypeID());
    EXPECT_NE(CFGetTypeID(array), CFGetTypeID(kCFBooleanTrue));
    CFRelease(array);
    CFRelease(number);
}

TEST(Booleans, survive_any_number_of_releases) {
    for (int i = 0; i < 3; ++i) CFRelease(kCFBooleanTrue);
    EXPECT_NE(kCFBooleanTrue, kCFBooleanFalse);
    CFRelease(nullptr);  // NOLINT(clang-analyzer-*): macOS would end the process
}

TEST(Arrays, own_a_reference_to_each_value_until_they_end) {
    const CFStringRef string = ascii("value");
    const void* values[] = {string, string};
    const CFArrayRef array = CFArrayCreate(nullptr, values, 2, &kCFTypeArrayCallBacks);
    values[0] = nullptr;
    EXPECT_EQ(references(string), 3);
    EXPECT_EQ(array->values.at(0), string);
    CFRelease(array);
    EXPECT_EQ(references(string), 1);
    // Without callbacks they own nothing.
    const CFArrayRef borrowing = CFArrayCreate(nullptr, values, 1, nullptr);
    EXPECT_EQ(references(string), 1);
    CFRelease(borrowing);
    EXPECT_EQ(references(string), 1);
    CFRelease(string);
}

TEST(Arrays, cannot_be_made_of_a_negative_count_or_of_no_list) {
    EXPECT_EQ(CFArrayCreate(nullptr, nullptr, -1, nullptr), nullptr);
    EXPECT_EQ(CFArrayCreate(nullptr, nullptr, 1, nullptr), nullptr);
}

TEST(References, are_counted_across_threads) {
    const CFStringRef string = ascii("shared");
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([string] {
            const void* values[] = {string};
            for (int j = 0; j < 1000; ++j) {
                CFRelease(CFArrayCreate(nullptr, values, 1, &kCFTypeArrayCallBacks));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(references(string), 1);
    CFRelease(string);
}

}  // namespace
}  // namespace texprobe::tests
