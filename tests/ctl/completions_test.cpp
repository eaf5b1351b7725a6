// The completions for bash, zsh and fish, in these shells: what they offer is what the program
// takes.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <regex>
#include <set>

#include "ctl/ctl_folder.h"
#include "ctl/prepared_records.h"
#include "ctl/terminal_run.h"

namespace texprobe::tests {
namespace {

using Words = std::set<std::string>;

const std::vector<std::string> kCommands = {"measure", "list",    "show",   "survey",
                                            "compare", "inspect", "export", "report",
                                            "merge",   "time",    "forget", "doctor"};

class Completion : public testing::Test {
protected:
    void SetUp() override {
        folder_.prepare(SCRIPTED_TOOL, complete_set(kIDPrefix + "abcd1234.build-9", "1.0"));
        std::filesystem::create_directory(folder_.file("files"));
        write_file(folder_.file("files/ab.json"), "{}");
        write_file(folder_.file("files/my file.json"), "{}");
    }

    /// The path of a shell; empty where it is not installed.
    static std::string find_shell(const std::string& name) {
        for (const char* folder : {"/bin/", "/usr/bin/", "/usr/local/bin/"}) {
            if (access((folder + name).c_str(), X_OK) == 0) return folder + name;
        }
        return {};
    }
    Environment environment() const {
        return {"PATH=" + folder_.path().string() + ":/usr/bin:/bin",
                "HOME=" + folder_.path().string(), "TERM=dumb", "LC_ALL=C.UTF-8"};
    }

    /// What a command's help says that it takes; "-h" is another name of "--help".
    Words options_of(const std::string& command) const {
        const std::string help = folder_.ctl({command, "--help"}).out;
        const std::regex option("^ +(-h,)?(-[-a-z]+)");
        Words words;
        for (const std::string& line : lines_of(help)) {
            std::smatch match;
            if (std::regex_search(line, match, option)) words.insert(match[2]);
        }
        return words;
    }

    /// Runs a shell's script in the folder of files; its lines.
    std::vector<std::string> lines_from(const std::string& shell,
                                        const std::vector<std::string>& options,
                                        const std::string& script) const {
        std::vector<std::string> arguments = options;
        arguments.insert(arguments.end(),
                         {"-c", "cd '" + folder_.file("files").string() + "'; " + script});
        TerminalRun run(shell, arguments, environment());
        run.finish();
        return lines_of(run.shown());
    }

    /// What a shell offers behind these words.
    using Offer = std::function<Words(const std::vector<std::string>&)>;
    void expect_what_the_program_takes(const Offer& offered) const;

    CtlFolder folder_{CTL, SCRIPTED_TOOL};
};

void Completion::expect_what_the_program_takes(const Offer& offered) const {
    for (const std::string& command : kCommands) {
        EXPECT_EQ(offered({command, "-"}), options_of(command)) << command;
    }
    EXPECT_EQ(offered({"m"}), (Words{"measure", "merge"}));
    EXPECT_EQ(offered({"--v"}), (Words{"--version"}));
    for (const char* command : {"export", "forget"}) {
        EXPECT_EQ(offered({command, "ab"}), (Words{"abcd1234"})) << command;
    }
    for (const char* command : {"show", "compare", "report"}) {
        EXPECT_EQ(offered({command, "ab"}), (Words{"ab.json", "abcd1234"})) << command;
    }
    EXPECT_EQ(offered({"compare", "ab.json", "abc"}), (Words{"abcd1234"}));
    EXPECT_EQ(offered({"merge", "ab"}), (Words{"ab.json"}));
    EXPECT_EQ(offered({"merge", "my"}), (Words{"my file.json"}));
    EXPECT_EQ(offered({"report", "-o", "ab"}), (Words{"ab.json"}));
    EXPECT_EQ(offered({"export", "-o", "ab"}), (Words{"ab.json"}));
    EXPECT_EQ(offered({"report", "--times", "ab"}), (Words{"ab.json"}));
    EXPECT_EQ(offered({"time", "GL_RGBA"}),
              (Words{"GL_RGBA8", "GL_RGBA16", "GL_RGBA16F_ARB", "GL_RGBA32F_ARB"}));
    EXPECT_EQ(offered({"time", "--size", "1"}), (Words{"1080p"}));
    EXPECT_EQ(offered({"time", "--set", "ab"}), (Words{"abcd1234"}));
    EXPECT_EQ(offered({"measure", "--tool", "ab"}), (Words{"ab.json"}));
    EXPECT_EQ(offered({"measure", "--timeout", "ab"}), (Words{}));
    EXPECT_EQ(offered({"survey", "--profile", "c"}), (Words{"compatibility", "core"}));
    EXPECT_EQ(offered({"survey", "--format", "GL_RGB10"}), (Words{"GL_RGB10_A2", "GL_RGB10_A2UI"}));
    EXPECT_EQ(offered({"survey", "--format", "GL_COMPRESSED_RGBA_A"}),
              (Words{"GL_COMPRESSED_RGBA_ASTC_4x4_KHR", "GL_COMPRESSED_RGBA_ASTC_6x6_KHR",
                     "GL_COMPRESSED_RGBA_ASTC_8x8_KHR"}));
    EXPECT_EQ(offered({"survey", "ab"}), (Words{"ab.json", "abcd1234"}));
    EXPECT_EQ(offered({"list", "ab"}), (Words{}));
    EXPECT_EQ(offered({"inspect", "GL_RGBA"}),
              (Words{"GL_RGBA8", "GL_RGBA16", "GL_RGBA16F_ARB", "GL_RGBA32F_ARB"}));
    EXPECT_EQ(offered({"inspect", "GL_RGBA8", "re"}), (Words{"read", "render", "reset"}));
    EXPECT_EQ(offered({"inspect", "--set", "ab"}), (Words{"abcd1234"}));
}

TEST_F(Completion, in_bash_offers_what_the_program_takes) {
    const std::string shell = find_shell("bash");
    if (shell.empty()) GTEST_SKIP() << "bash is not installed";
    const Offer offered = [&](const std::vector<std::string>& words) {
        // As bash calls it: with the words, the last of which is to be completed.
        std::string script = "source '" COMPLETIONS "/texprobectl.bash'; COMP_WORDS=(texprobectl";
        for (const std::string& word : words) script += " '" + word + "'";
        script += "); COMP_CWORD=" + std::to_string(words.size()) +
                  "; _texprobectl texprobectl; printf '%s\\n' \"${COMPREPLY[@]}\"";
        Words candidates;
        for (const std::string& line : lines_from(shell, {"--norc"}, script)) {
            if (!line.empty()) candidates.insert(line);
        }
        return candidates;
    };
    expect_what_the_program_takes(offered);
}

TEST_F(Completion, in_fish_offers_what_the_program_takes) {
    const std::string shell = find_shell("fish");
    if (shell.empty()) GTEST_SKIP() << "fish is not installed";
    const Offer offered = [&](const std::vector<std::string>& words) {
        std::string line = "texprobectl";
        for (const std::string& word : words) line += " " + word;
        Words candidates;
        // Behind a tab comes the description.
        for (const std::string& candidate :
             lines_from(shell, {"--no-config"},
                        "source '" COMPLETIONS "/texprobectl.fish'; complete -C '" + line +
                            "' | string replace -r '\\t.*' ''")) {
            candidates.insert(candidate);
        }
        return candidates;
    };
    expect_what_the_program_takes(offered);
}

TEST_F(Completion, in_zsh_completes_what_the_program_takes) {
    const std::string shell = find_shell("zsh");
    if (shell.empty()) GTEST_SKIP() << "zsh is not installed";
    TerminalRun run(shell, {"-f", "-i"}, environment(), 200);
    // Instead of the program, a function shows what it is given.
    run.type("cd '" + folder_.file("files").string() +
             "'; fpath=('" COMPLETIONS
             "' $fpath); autoload -U compinit; compinit -u -D; unsetopt BEEP\r");
    run.type(
        "texprobectl() { if [[ $* = list ]]; then command texprobectl list; else "
        "print -r -- \"<${(j:|:)@}>\"; fi }; print rea''dy\r");
    ASSERT_TRUE(run.waits_until("ready")) << run.shown();
    const auto expect = [&](const std::string& typed, const std::string& taken) {
        run.type("texprobectl ");
        run.type(typed);
        run.type("\t\r");
        EXPECT_TRUE(run.waits_until("<" + taken + ">")) << typed << '\n' << run.shown();
    };
    for (const std::string& command : kCommands) {
        const Words options = options_of(command);
        for (const std::string& option : options) {
            // All but its last letter, which "-o" has nothing before, and where it is the only one.
            const std::string beginning = option.substr(0, option.size() - 1);
            const bool isOnly =
                std::count_if(options.begin(), options.end(), [&](const auto& other) {
                    return other.rfind(beginning, 0) == 0;
                }) == 1;
            if (option.size() < 3 || !isOnly) continue;
            std::string typed = command;
            typed.append(" ").append(option, 0, option.size() - 1);
            std::string taken = command;
            taken.append("|").append(option);
            expect(typed, taken);
        }
    }
    expect("meas", "measure");
    expect("--vers", "--version");
    expect("show abc", "show|abcd1234");
    expect("compare abc", "compare|abcd1234");
    expect("compare ab.", "compare|ab.json");
    expect("forget --yes ab", "forget|--yes|abcd1234");
    expect("merge my", "merge|my file.json");
    expect("report abcd1234 -o ab", "report|abcd1234|-o|ab.json");
    expect("measure --tool ab", "measure|--tool|ab.json");
    expect("inspect GL_RGBA8 rea", "inspect|GL_RGBA8|read");
    expect("inspect GL_RGBA32", "inspect|GL_RGBA32F_ARB");
    expect("report --times ab", "report|--times|ab.json");
    expect("time GL_RGB8 GL_LUMINANCE32", "time|GL_RGB8|GL_LUMINANCE32F_ARB");
    expect("time --size 21", "time|--size|2160p");
    expect("time --set ab", "time|--set|abcd1234");
    run.type("exit\r");
}

}  // namespace
}  // namespace texprobe::tests
