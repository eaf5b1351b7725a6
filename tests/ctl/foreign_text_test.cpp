// Text of strangers stays text: no name from somebody's document moves a cursor, ends a line or
// turns a direction.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "ctl/ctl_folder.h"
#include "ctl/prepared_records.h"
#include "ctl/written_sets.h"
#include "records/plain_text.h"

namespace texprobe::tests {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// Literals must not hide marks of direction.
std::string in_utf8(unsigned code) {
    return std::filesystem::path(std::u32string(1, static_cast<char32_t>(code))).string();
}

TEST(PlainText, is_what_drivers_say) {
    for (const char* text : {"llvmpipe (LLVM 15.0.6, 256 bits)",
                             "Intel\u00AE UHD \u20AC \u4E2D \U0001F600 ~ \u00a0", ""}) {
        EXPECT_EQ(ctl::plain(text), text);
    }
}

TEST(PlainText, has_no_control_characters_and_no_marks_that_nobody_sees) {
    EXPECT_EQ(ctl::plain(std::string_view("a\x1b[2Jb\a\r\n\tc\x7f\0", 13)), "a?[2Jb????c??");
    // The second set of controls: its first, CSI and its last. Then marks, first and last of a
    // kind.
    for (const unsigned mark :
         {0x80U, 0x9bU, 0x9fU, 0x061CU, 0x200BU, 0x200EU, 0x200FU, 0x2028U, 0x2029U, 0x202AU,
          0x202EU, 0x2066U, 0x2069U, 0xFEFFU, 0xFFF9U, 0xE0001U, 0xE007FU}) {
        EXPECT_EQ(ctl::plain("a" + in_utf8(mark) + "b"), "a?b") << mark;
    }
}

TEST(PlainText, has_a_sign_for_each_byte_that_is_not_UTF_8) {
    // Alone, cut, too long for their value, a surrogate, beyond the last character.
    for (const auto& [bytes, shown] : std::initializer_list<std::pair<const char*, const char*>>{
             {"a\x9b"
              "2J",
              "a?2J"},
             {"\xe2\x82", "??"},
             {"\xc0\x9b", "??"},
             {"\xe0\x82\x9b", "???"},
             {"\xed\xa0\x80", "???"},
             {"\xf4\x90\x80\x80", "????"},
             {"\xf8\x88\x80\x80\x80", "?????"},
             {"\xff\xe2\x82\xac", "?\xe2\x82\xac"}}) {
        EXPECT_EQ(ctl::plain(bytes), shown);
    }
}

// Escape, bell, CSI in one character, line ends and a direction mark.
const std::string kEvil = "evil \x1b]0;title\a\x1b[2J\u009b1m\r\nfake line" + in_utf8(0x2028) +
                          in_utf8(0x202E) + " reversed\x7f";

/// Such a character, but for the line ends that are ours.
bool has_raw(const std::string& text) {
    for (const std::string& line : lines_of(text)) {
        if (ctl::plain(line) != line) return true;
    }
    return text.find("\nfake line") != std::string::npos;
}

class ForeignText : public testing::Test {
protected:
    static ctl::RecordSet evil_set(const std::string& renderer) {
        ctl::RecordSet set = working_set(renderer, "9" + kEvil);
        for (auto* text : {&set.vendor, &set.glVersion, &set.renderer}) *text = kEvil;
        set.verdicts[7][2] = ctl::Verdict::kCrashed;
        set.details = {{{7, kUploadSet}, ctl::Crashed{kEvil}}};
        return set;
    }

    CtlFolder folder_{CTL, SCRIPTED_TOOL};
};

TEST_F(ForeignText, of_documents_stays_text_in_merge_and_compare) {
    ctl::RecordSet better = evil_set("ab");
    better.verdicts[7][2] = ctl::Verdict::kYes;
    write_file(folder_.file("a.json"), document_of({evil_set("ab"), evil_set("cd")}));
    write_file(folder_.file("b.json"), document_of({better, evil_set("ef")}));
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"merge", folder_.file("a.json")},
          {"compare", folder_.file("a.json"), folder_.file("b.json")}}) {
        const Finished run = folder_.ctl(command);
        EXPECT_THAT(run.out, HasSubstr("evil ?]0;title??[2J")) << command.front();
        EXPECT_FALSE(has_raw(run.out + run.err)) << run.out << run.err;
    }
    folder_.ctl({"report", folder_.file("a.json"), "-o", folder_.file("page.html")});
    const std::string page = read_file(folder_.file("page.html"));
    EXPECT_THAT(page, AllOf(HasSubstr("evil ?]0;title??[2J"), Not(HasSubstr("http"))));
    EXPECT_FALSE(has_raw(page));
}

TEST_F(ForeignText, stays_text_in_errors) {
    const std::string evil = folder_.file("e" + kEvil + ".json");
    write_file(evil, "{\"" + kEvil + "\": " + kEvil);
    write_file(folder_.file("b.json"), "{\"\\u001b[2J\\u202e\": 1, \"\\u001b[2J\\u202e\": 2}");
    write_file(folder_.file("c.json"),
               "{\"schema\": \"texprobe-records\", \"schema_version\": 1, \"record_sets\": "
               "[{\"id\": \"\\u001b[2J\\n\u009b" +
                   in_utf8(0x202E) + "\"}]}");
    for (const std::vector<std::string>& command : {std::vector<std::string>{"merge", evil},
                                                    {"merge", folder_.file("b.json")},
                                                    {"merge", folder_.file("c.json")},
                                                    {"merge", folder_.file("no" + kEvil)},
                                                    {"show", kEvil},
                                                    {kEvil},
                                                    {"time", kEvil},
                                                    {"measure", "--timeout", kEvil}}) {
        const Finished run = folder_.ctl(command);
        EXPECT_TRUE(run.exited_with(2)) << run.err;
        EXPECT_EQ(lines_of(run.err).size(), 1u) << run.err;
        EXPECT_FALSE(has_raw(run.err)) << run.err;
    }
}

TEST_F(ForeignText, of_the_store_stays_text) {
    const std::string id = kIDPrefix + "abcd1234.build-9";
    folder_.prepare(SCRIPTED_TOOL, complete_set(id, "1.0 \x1b[2J\a\x7f") +
                                       complete_set(kIDPrefix + "ff.build-9", "2.0"));
    for (const std::vector<std::string>& command : {std::vector<std::string>{"list"},
                                                    {"show", "1"},
                                                    {"forget", "1"},
                                                    {"compare", "1", "2"}}) {
        const Finished run = folder_.ctl(command);
        EXPECT_FALSE(has_raw(run.out + run.err)) << run.out << run.err;
    }
    EXPECT_THAT(folder_.ctl({"show", "1"}).out, HasSubstr("1.0 ?[2J"));
}

}  // namespace
}  // namespace texprobe::tests
