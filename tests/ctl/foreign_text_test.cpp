// Text of strangers stays text: no name from somebody's document moves a cursor, ends a line or
// turns a direction.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "ctl/ctl_folder.h"
#include "ctl/prepared_records.h"
#include "documents/document.h"
#include "documents/write_json.h"
#include "records/plain_text.h"

namespace texprobe::tests {
namespace {

using testing::HasSubstr;

/// Of a character from U+0800 on in three bytes, from U+10000 on in four, else in two. Literals
/// must not hide marks of direction.
std::string in_utf8(unsigned code) {
    std::string text;
    const auto add = [&](unsigned bits) { text += static_cast<char>(bits); };
    if (code >= 0x10000) {
        add(0xF0 | code >> 18);
        add(0x80 | (code >> 12 & 0x3F));
    } else if (code >= 0x800) {
        add(0xE0 | code >> 12);
    }
    add(code >= 0x800 ? 0x80 | (code >> 6 & 0x3F) : 0xC0 | code >> 6);
    add(0x80 | (code & 0x3F));
    return text;
}

TEST(PlainText, is_what_drivers_say) {
    EXPECT_EQ(ctl::plain("llvmpipe (LLVM 15.0.6, 256 bits)"), "llvmpipe (LLVM 15.0.6, 256 bits)");
    EXPECT_EQ(ctl::plain("Intel\u00AE UHD \u20AC \u4E2D \U0001F600 ~"),
              "Intel\u00AE UHD \u20AC \u4E2D \U0001F600 ~");
    EXPECT_EQ(ctl::plain(""), "");
}

TEST(PlainText, has_no_control_characters) {
    EXPECT_EQ(ctl::plain("a\x1b[2Jb\a\r\n\tc\x7f"), "a?[2Jb????c?");
    EXPECT_EQ(ctl::plain(std::string_view("a\0b", 3)), "a?b");
    // The second set of them: U+0080, CSI and U+009F.
    EXPECT_EQ(ctl::plain("a\u0080\u009b2J\u009f\u00a0"), "a??2J?\u00a0");
}

TEST(PlainText, has_no_marks_that_nobody_sees) {
    for (const unsigned code : {0x061CU, 0x200BU, 0x200EU, 0x200FU, 0x2028U, 0x2029U, 0x202AU,
                                0x202EU, 0x2066U, 0x2069U, 0xFEFFU, 0xFFF9U, 0xE0001U, 0xE007FU}) {
        EXPECT_EQ(ctl::plain(in_utf8(code).insert(0, 1, 'a') + 'b'), "a?b") << code;
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
        ctl::RecordSet set;
        set.rendererID = renderer;
        set.systemBuild = "9" + kEvil;
        set.id = kIDPrefix + set.rendererID + "." + set.systemBuild;
        set.version = 0.21;
        for (auto* text : {&set.vendor, &set.glVersion, &set.renderer}) *text = kEvil;
        set.verdicts[7][2] = ctl::Verdict::kCrashed;
        set.details = {{{7, kUploadSet}, ctl::Crashed{kEvil}}};
        return set;
    }
    void write_sets(const std::string& name, const ctl::RecordSets& sets) const {
        std::ostringstream text;
        ctl::write_records_json(sets, text);
        write_file(folder_.file(name), text.str());
    }

    CtlFolder folder_{CTL, SCRIPTED_TOOL};
};

TEST_F(ForeignText, of_documents_stays_text_in_merge_and_compare) {
    ctl::RecordSet better = evil_set("ab");
    better.verdicts[7][2] = ctl::Verdict::kYes;
    write_sets("a.json", {evil_set("ab"), evil_set("cd")});
    write_sets("b.json", {better, evil_set("ef")});
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"merge", folder_.file("a.json")},
          {"compare", folder_.file("a.json"), folder_.file("b.json")}}) {
        const Finished run = folder_.ctl(command);
        EXPECT_THAT(run.out, HasSubstr("evil ?]0;title??[2J")) << command.front();
        EXPECT_FALSE(has_raw(run.out + run.err)) << run.out << run.err;
    }
    folder_.ctl({"report", folder_.file("a.json"), "-o", folder_.file("page.html")});
    const std::string page = read_file(folder_.file("page.html"));
    EXPECT_THAT(page, HasSubstr("evil ?]0;title??[2J"));
    EXPECT_FALSE(has_raw(page));
}

TEST_F(ForeignText, stays_text_in_errors) {
    const std::string evil = folder_.file("e" + kEvil + ".json");
    write_file(evil, "{\"" + kEvil + "\": " + kEvil);
    write_file(folder_.file("b.json"), "{\"\\u001b[2J\\u202e\": 1, \"\\u001b[2J\\u202e\": 2}");
    write_file(
        folder_.file("c.json"),
        "{\"schema\": \"texprobe-records\", \"schema_version\": 1, \"record_sets\": [{\"id\": "
        "\"\\u001b[2J\\n\u009b" +
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
