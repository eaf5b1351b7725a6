// texprobectl on a terminal: marks and colours, widths, and questions.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
        TerminalRun shown = run(arguments, environment, columns);
        EXPECT_TRUE(shown.finish().exited_with(0)) << shown.shown();
        return shown.shown();
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

TEST_F(Terminal, gets_marks_in_colours_where_its_characters_are_those_of_unicode) {
    prepare_verdicts();
    const std::string shown = shown_by({"show", "1"}, kUnicode);
    EXPECT_THAT(
        without_colours(shown),
        AllOf(HasSubstr("GL_RGB32F_ARB                    ✓        ✗        ?        ?        –    "
                        "    –\n"),
              HasSubstr("GL_RGBA32F_ARB             ✗ crash        –        –        –        –    "
                        "    –\n"),
              HasSubstr("GL_LUMINANCE8               ✗ hung        –        –        –        –    "
                        "    –\n"),
              HasSubstr("\n?: not measured yet\n–: not applicable, because a capability that it "
                        "needs is a no\n")));
    // Green, red, bold red, faint and yellow, which end with each verdict.
    for (const char* coloured : {"\x1b[32m✓\x1b[0m", "\x1b[31m✗\x1b[0m", "\x1b[1;31m✗ crash\x1b[0m",
                                 "\x1b[2m–\x1b[0m", "\x1b[33m?\x1b[0m"}) {
        EXPECT_THAT(shown, HasSubstr(coloured));
    }
}

TEST_F(Terminal, gets_no_marks_or_no_colours_where_it_has_none) {
    prepare_verdicts();
    const struct {
        Environment environment;
        bool hasMarks;
        bool hasColours;
    } rows[] = {{{"LC_ALL=C", "TERM=xterm"}, false, true},
                {{"LC_ALL=C.UTF-8", "TERM=dumb"}, false, false},
                {{"LC_ALL=C.UTF-8", "TERM=xterm", "NO_COLOR=1"}, true, false},
                // As its authors want it, an empty one is none.
                {{"NO_COLOR="}, false, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.environment.front());
        const std::string shown = shown_by({"show", "1"}, row.environment);
        EXPECT_EQ(shown.find('\x1b') != std::string::npos, row.hasColours);
        EXPECT_EQ(width_of(shown) != shown.size(), row.hasMarks) << "not all are ASCII";
        if (row.hasMarks) continue;
        EXPECT_THAT(without_colours(shown),
                    HasSubstr("GL_RGBA32F_ARB             crashed      n/a      n/a      n/a "
                              "     n/a      n/a\n"));
    }
}

TEST_F(Terminal, of_80_columns_shows_all_in_80_columns) {
    // Two builds of one renderer, so that the build is a part of the short identifier.
    const std::string first = kIDPrefix + "be457c6e.6.1.0-18-amd64-16eee710";
    const std::string second = kIDPrefix + "be457c6e.6.12.57+deb13-amd64-16eee710";
    const std::string version = "4.5 (Compatibility Profile) Mesa 25.0.7-2";
    const std::string renderer = "llvmpipe (LLVM 19.1.7, 256 bits)";
    // The longest state, and a difference of the longest name.
    folder_.prepare(
        SCRIPTED_TOOL,
        complete_set(first, version, {}, renderer) +
            complete_set(second, version, {{"GL_LUMINANCE_ALPHA32F_ARB_DOWNLOAD_READ", false}},
                         renderer) +
            "removed " + second + " GL_VENDOR\nsync " + second + "\n");
    write_file(folder_.file("a.json"), folder_.ctl({"export"}).out);
    for (const std::vector<std::string>& words : {std::vector<std::string>{"list"},
                                                  {"show", "1"},
                                                  {"merge", folder_.file("a.json")},
                                                  {"compare", "1", "2"}}) {
        TerminalRun shown = run(words, kUnicode);
        EXPECT_TRUE(shown.finish().exited_with(words.front() == "compare" ? 1 : 0));
        for (const std::string& line : screen(shown.shown()))
            EXPECT_LE(width_of(line), 80u) << line;
    }
}

TEST_F(Terminal, of_80_columns_keeps_renderers_apart) {
    std::string script;
    for (const char* card : {"3080", "3090"}) {
        const std::string own = std::string(card) + ".6.1.0-18-amd64-16eee710";
        const std::string marks = "org.texprobe.texprobectl." + own;
        script += complete_set(kIDPrefix + own, "4.6.0 NVIDIA 535.183.01", {},
                               std::string("NVIDIA GeForce RTX ") + card + "/PCIe/SSE2");
        script.append("set ").append(marks).append(" RECORDED text 2026-11-21T19:56:43Z\n");
        script.append("sync ").append(marks).append("\n");
    }
    folder_.prepare(SCRIPTED_TOOL, script);
    EXPECT_THAT(shown_by({"list"}, kUnicode),
                AllOf(HasSubstr("  NVIDIA GeForce RTX 3080/PCIe/SSE2  "),
                      HasSubstr("  NVIDIA GeForce RTX 3090/PCIe/SSE2  "),
                      HasSubstr("  2026-11-21  complete\n")));
    EXPECT_THAT(shown_by({"list"}, kUnicode, 50),
                AllOf(HasSubstr("  3080  ...3080/"), HasSubstr("  3090  ...3090/")));
    for (const int width : {80, 60, 50}) {
        const auto columns = static_cast<unsigned short>(width);
        for (const std::string& line : screen(shown_by({"list"}, kUnicode, columns))) {
            EXPECT_LE(width_of(line), columns) << line;
        }
    }
}

TEST_F(Terminal, that_is_wide_shows_names_whole) {
    folder_.prepare(SCRIPTED_TOOL, complete_set(kID, std::string(100, 'v')));
    EXPECT_THAT(shown_by({"list"}, kUnicode, 200), HasSubstr(std::string(100, 'v')));
    EXPECT_THAT(shown_by({"list"}, kUnicode, 80), HasSubstr("vvv..."));
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
