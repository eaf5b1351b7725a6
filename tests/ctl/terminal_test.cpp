// texprobectl on a terminal: marks and colours, widths, and questions.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <sstream>

#include "ctl/ctl_folder.h"
#include "ctl/prepared_records.h"
#include "ctl/terminal_run.h"

namespace texprobe::tests {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

const Environment kUnicode = {"LC_ALL=C.UTF-8", "TERM=xterm-256color"};

class Terminal : public testing::Test {
protected:
    TerminalRun run(const std::vector<std::string>& arguments, const Environment& environment,
                    unsigned short columns = 80) const {
        return {folder_.file("texprobectl"), arguments, environment, columns};
    }
    /// All that it shows, and that it ended with status 0.
    std::string shown_by(const std::vector<std::string>& arguments, const Environment& environment,
                         unsigned short columns = 80) const {
        TerminalRun run(folder_.file("texprobectl"), arguments, environment, columns);
        EXPECT_TRUE(run.finish().exited_with(0)) << run.shown();
        return run.shown();
    }

    /// A set with a verdict of each kind but a crash and a hang, which only `measure` sees.
    void prepare_verdicts() const {
        folder_.prepare(SCRIPTED_TOOL, "set " + kID + " VERSION number 0.21\nset " + kID +
                                           " GL_RGB32F_ARB_SUPPORTED true\nset " + kID +
                                           " GL_RGB32F_ARB_RENDERABLE false\nsync " + kID + "\n" +
                                           mark("GL_RGBA32F_ARB_SUPPORTED", "signal SIGSEGV") +
                                           mark("GL_LUMINANCE8_SUPPORTED", "seconds 60"));
    }
    /// A false record, and what `measure` remembers of it.
    static std::string mark(const std::string& key, const std::string& text) {
        return "set " + kID + " " + key + " false\nset " + kMarksID + " " + key + " text " + text +
               "\nsync " + kID + "\nsync " + kMarksID + "\n";
    }

    inline static const std::string kID = kIDPrefix + "abcd1234.build-9";
    inline static const std::string kMarksID = "org.texprobe.texprobectl.abcd1234.build-9";
    CtlFolder folder_{CTL, SCRIPTED_TOOL};
};

TEST_F(Terminal, gets_marks_where_its_characters_are_those_of_unicode) {
    prepare_verdicts();
    const std::string shown = without_colours(shown_by({"show", "1"}, kUnicode));
    EXPECT_THAT(
        shown,
        AllOf(HasSubstr("GL_RGB32F_ARB                    ✓        ✗        ?        ?        –    "
                        "    –\n"),
              HasSubstr("GL_RGBA32F_ARB             ✗ crash        –        –        –        –    "
                        "    –\n"),
              HasSubstr("GL_LUMINANCE8               ✗ hung        –        –        –        –    "
                        "    –\n"),
              HasSubstr("\n?: not measured yet\n–: not applicable, because a capability that it "
                        "needs is a no\n")));
}

TEST_F(Terminal, gets_words_where_they_are_not) {
    prepare_verdicts();
    for (const Environment& environment :
         {Environment{"LC_ALL=C", "TERM=xterm"}, Environment{"LC_ALL=C.UTF-8", "TERM=dumb"}}) {
        const std::string shown = without_colours(shown_by({"show", "1"}, environment));
        EXPECT_THAT(shown,
                    HasSubstr("GL_RGBA32F_ARB             crashed      n/a      n/a      n/a "
                              "     n/a      n/a\n"));
        EXPECT_EQ(width_of(shown), shown.size()) << "not all are ASCII";
    }
}

TEST_F(Terminal, gets_colours_that_end_with_each_verdict) {
    prepare_verdicts();
    const std::string shown = shown_by({"show", "1"}, kUnicode);
    // Green, red, bold red, faint and yellow.
    for (const char* coloured : {"\x1b[32m✓\x1b[0m", "\x1b[31m✗\x1b[0m", "\x1b[1;31m✗ crash\x1b[0m",
                                 "\x1b[2m–\x1b[0m", "\x1b[33m?\x1b[0m"}) {
        EXPECT_THAT(shown, HasSubstr(coloured));
    }
}

TEST_F(Terminal, gets_no_colours_with_NO_COLOR_or_when_it_is_dumb) {
    prepare_verdicts();
    for (const Environment& environment :
         {Environment{"LC_ALL=C.UTF-8", "TERM=xterm", "NO_COLOR=1"}, Environment{"TERM=dumb"}}) {
        EXPECT_THAT(shown_by({"show", "1"}, environment), Not(HasSubstr("\x1b")));
    }
    // As its authors want it, an empty one is none.
    EXPECT_THAT(shown_by({"show", "1"}, {"NO_COLOR="}), HasSubstr("\x1b"));
}

TEST_F(Terminal, of_80_columns_shows_all_in_80_columns) {
    // Two builds of one renderer, so that the build is a part of the short identifier.
    const std::string renderer = kIDPrefix + "be457c6e.";
    const std::string builds[] = {renderer + "6.1.0-18-amd64-16eee710",
                                  renderer + "6.12.57+deb13-amd64-16eee710"};
    std::string script;
    for (const std::string& id : builds) {
        script += complete_set(id, "4.5 (Compatibility Profile) Mesa 25.0.7-2",
                               {{"GL_LUMINANCE_ALPHA32F_ARB_DOWNLOAD_READ", id == builds[0]}});
        script.append("set ").append(id);
        script.append(" GL_RENDERER text llvmpipe (LLVM 19.1.7, 256 bits)\nsync ");
        script.append(id).append("\n");
    }
    // The longest state.
    script += "removed " + builds[1] + " GL_VENDOR\nsync " + builds[1] + "\n";
    folder_.prepare(SCRIPTED_TOOL, script);
    write_file(folder_.file("a.json"), folder_.ctl({"export"}).out);
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"list"}, {"show", "1"}, {"merge", folder_.file("a.json")}}) {
        for (const std::string& line : screen(shown_by(arguments, kUnicode))) {
            EXPECT_LE(width_of(line), 80u) << line;
        }
    }
    TerminalRun compared = run({"compare", "1", "2"}, kUnicode);
    EXPECT_TRUE(compared.finish().exited_with(1));
    for (const std::string& line : screen(compared.shown())) EXPECT_LE(width_of(line), 80u) << line;
}

TEST_F(Terminal, that_is_wide_shows_names_whole) {
    folder_.prepare(SCRIPTED_TOOL, complete_set(kID, std::string(100, 'v')));
    EXPECT_THAT(shown_by({"list"}, kUnicode, 200), HasSubstr(std::string(100, 'v')));
    EXPECT_THAT(shown_by({"list"}, kUnicode, 80), HasSubstr("vvv..."));
}

TEST_F(Terminal, of_80_columns_keeps_renderers_apart) {
    std::string script;
    for (const char* card : {"3080", "3090"}) {
        const std::string id = kIDPrefix + card + ".6.1.0-18-amd64-16eee710";
        const std::string marks = "org.texprobe.texprobectl." + id.substr(kIDPrefix.size());
        std::ostringstream lines;
        lines << complete_set(id, "4.6.0 NVIDIA 535.183.01") << "set " << id
              << " GL_RENDERER text NVIDIA GeForce RTX " << card << "/PCIe/SSE2\nsync " << id
              << "\nset " << marks << " RECORDED text 2026-11-21T19:56:43Z\nsync " << marks << '\n';
        script += lines.str();
    }
    folder_.prepare(SCRIPTED_TOOL, script);
    EXPECT_THAT(shown_by({"list"}, kUnicode),
                AllOf(HasSubstr("  NVIDIA GeForce RTX 3080/PCIe/SSE2  "),
                      HasSubstr("  NVIDIA GeForce RTX 3090/PCIe/SSE2  "),
                      HasSubstr("  2026-11-21  complete\n")));
    for (const unsigned short width : std::array<unsigned short, 3>{80, 60, 50}) {
        for (const std::string& line : screen(shown_by({"list"}, kUnicode, width))) {
            EXPECT_LE(width_of(line), std::size_t{width}) << line;
        }
    }
    EXPECT_THAT(shown_by({"list"}, kUnicode, 50),
                AllOf(HasSubstr("  3080  ...3080/"), HasSubstr("  3090  ...3090/")));
}

TEST_F(Terminal, is_asked_before_records_are_removed) {
    struct Answer {
        const char* keys;
        bool isYes;
    };
    for (const Answer& answer :
         {Answer{"n\n", false}, Answer{"\n", false}, Answer{"\x04", false},
          Answer{"yesterday\n", false}, Answer{"y\n", true}, Answer{"yes\n", true}}) {
        SCOPED_TRACE(answer.keys);
        folder_.prepare(SCRIPTED_TOOL, complete_set(kID, "1.0"));
        TerminalRun forget = run({"forget", "--all"}, kUnicode);
        ASSERT_TRUE(forget.waits_until("Remove these record sets? [y/N] ")) << forget.shown();
        EXPECT_EQ(folder_.records().size(), 1u);
        forget.type(answer.keys);
        EXPECT_TRUE(forget.finish().exited_with(answer.isYes ? 0 : 1));
        EXPECT_EQ(folder_.records().empty(), answer.isYes);
        EXPECT_THAT(forget.shown(), HasSubstr(kID + ": a renderer, 1.0\n"));
        // The shell's next prompt has a line of its own.
        EXPECT_EQ(forget.shown().back(), '\n');
    }
}

TEST_F(Terminal, is_not_asked_with_yes) {
    folder_.prepare(SCRIPTED_TOOL, complete_set(kID, "1.0"));
    EXPECT_EQ(shown_by({"forget", "--all", "--yes"}, kUnicode),
              kID + ": a renderer, 1.0\n1 record set removed.\n");
}

TEST_F(Terminal, that_cannot_show_the_question_is_not_waited_for) {
    folder_.prepare(SCRIPTED_TOOL, complete_set(kID, "1.0"));
    const std::string command =
        folder_.file("texprobectl").string() + " forget --all 2>" + folder_.file("err").string();
    TerminalRun shell("/bin/sh", {"-c", command}, kUnicode);
    EXPECT_TRUE(shell.finish().exited_with(2));
    EXPECT_THAT(read_file(folder_.file("err")),
                HasSubstr("there is no terminal to ask on; --yes removes these record sets\n"));
    EXPECT_EQ(folder_.records().size(), 1u);
}

}  // namespace
}  // namespace texprobe::tests
