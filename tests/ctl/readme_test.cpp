// The README's transcript of texprobectl: each of its commands, on the real tool and on the
// software renderers of this machine, prints what is shown.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <set>
#include <sstream>

#include "ctl/ctl_folder.h"
#include "gl/mesa_renderer.h"

namespace texprobe::tests {
namespace {

using testing::ElementsAreArray;

constexpr const char* kProgram = "build/release/texprobectl ";

/// Commands, and what they are shown to print together.
struct Step {
    std::vector<std::string> commands;
    std::vector<std::string> shown;
};

/// The blocks of commands of texprobectl, each with the block of text that follows it, if one does.
std::vector<Step> read_steps(const std::string& readme) {
    std::vector<Step> steps;
    std::vector<std::string>* block = nullptr;
    bool isStepJustRead = false;
    for (const std::string& line : lines_of(readme)) {
        if (block && line == "```") {
            block = nullptr;
        } else if (block) {
            block->push_back(line);
        } else if (line == "```sh") {
            steps.emplace_back();
            block = &steps.back().commands;
            isStepJustRead = true;
        } else if (line == "```text" && isStepJustRead) {
            block = &steps.back().shown;
            isStepJustRead = false;
        } else if (!line.empty()) {
            isStepJustRead = false;
        }
    }
    steps.erase(std::remove_if(steps.begin(), steps.end(),
                               [](const Step& step) {
                                   return step.commands.empty() ||
                                          step.commands[0].rfind(kProgram, 0) != 0;
                               }),
                steps.end());
    return steps;
}

/// The words of a command behind the program's name.
std::vector<std::string> arguments_of(const std::string& command) {
    std::istringstream stream(command.substr(std::string(kProgram).size()));
    std::vector<std::string> words;
    for (std::string word; stream >> word;) words.push_back(word);
    return words;
}

/// What differs between machines and renderers: names, identifiers, builds and versions, and with
/// them the widths of columns.
std::string without_names(std::string line) {
    const std::pair<const char*, const char*> replacements[] = {
        {R"(zink \(llvmpipe \(LLVM [0-9.]+, [0-9]+ bits\)\))", "RENDERER"},
        {R"(llvmpipe \(LLVM [0-9.]+, [0-9]+ bits\))", "RENDERER"},
        {R"(softpipe)", "RENDERER"},
        {R"([0-9.]+ (\(Compatibility Profile\) )?Mesa [^ ,\n]+(, (Mesa|Collabora)[A-Za-z/. ]*$)?)",
         "DRIVER"},
        {R"(texprobe2\.[0-9a-f]{1,8}\.[^ ]+)", "texprobe2.ID.BUILD"},
        {R"(\b[0-9]+\.[0-9]+[^ ]*-[0-9a-f]{8}\b)", "BUILD"},
        {R"(\b[0-9a-f]{7,8}\b)", "ID"},
        {R"([0-9]+ MB)", "N MB"}};
    for (const auto& [pattern, replacement] : replacements) {
        line = std::regex_replace(line, std::regex(pattern), replacement);
    }
    const bool isOfList = line.rfind(" #  id", 0) == 0 || line.rfind(" 1  ID", 0) == 0;
    return isOfList ? std::regex_replace(line, std::regex(" {2,}"), "  ") : line;
}

/// A row of a matrix without its answers, which are another renderer's.
std::string without_answers(const std::string& line) {
    static const std::regex row("(GL_[A-Z0-9_]+)( +(yes|no|n/a|all|none)){6}");
    return std::regex_replace(line, row, "$1 ANSWERS");
}

/// Whether the printed lines are the shown ones; "..." stands for any number of lines.
testing::AssertionResult is_shown(const std::vector<std::string>& printed,
                                  const std::vector<std::string>& shown) {
    std::size_t at = 0;
    bool mayPass = false;
    for (const std::string& line : shown) {
        if (line == "...") {
            mayPass = true;
            continue;
        }
        while (mayPass && at < printed.size() && printed[at] != line) ++at;
        if (at == printed.size()) {
            return testing::AssertionFailure() << "not printed: " << line;
        }
        if (printed[at] != line) {
            return testing::AssertionFailure() << "printed: " << printed[at] << "\nshown: " << line;
        }
        ++at;
        mayPass = false;
    }
    if (!mayPass && at < printed.size()) {
        return testing::AssertionFailure() << "not shown: " << printed[at];
    }
    return testing::AssertionSuccess();
}

class Readme : public testing::TestWithParam<const char*> {
protected:
    std::string renderer() const { return GetParam(); }
    Environment environment() const {
        return {"GALLIUM_DRIVER=" + renderer(), "LIBGL_ALWAYS_SOFTWARE=1",
                "HOME=" + folder_.path().string()};
    }

    /// Why there is nothing to compare; empty when there is.
    std::string missing() const {
        const RecordSets sets = folder_.records();
        if (sets.size() != 1) return "this machine has other renderers";
        const auto& records = sets.begin()->second;
        const auto name = records.find("GL_RENDERER");
        const bool isAsked =
            name != records.end() && name->second.rfind("string " + renderer(), 0) == 0;
        return isAsked ? "" : renderer() + " is not installed";
    }

    /// Both streams of a command. Its files are in the folder.
    std::vector<std::string> printed_by(const std::string& command) const {
        std::vector<std::string> arguments = arguments_of(command);
        for (std::string& argument : arguments) {
            if (argument.rfind("build/", 0) == 0) argument = folder_.file(argument.substr(6));
        }
        const Finished run = folder_.ctl(arguments, environment());
        EXPECT_TRUE(run.exited_with(0)) << command << '\n' << run.err;
        return lines_of(run.err + run.out);
    }

    std::vector<std::string> simplified(const std::vector<std::string>& text) const {
        std::vector<std::string> result;
        for (const std::string& line : text) {
            std::string simple = without_names(line);
            // The README shows llvmpipe's answers; softpipe's are the same ones.
            if (renderer() == "zink") {
                simple = without_answers(simple);
                if (simple == "n/a: not applicable, because what it needs is a no") continue;
            }
            result.push_back(simple);
        }
        return result;
    }

    CtlFolder folder_{CTL, TOOL};
};

TEST_P(Readme, shows_what_the_program_prints) {
    // Without Vulkan, Mesa 25's zink hangs instead of failing.
    if (const std::string reason = prepare({renderer(), {}}); !reason.empty()) {
        GTEST_SKIP() << reason;
    }
    // As scripts/run does.
    folder_.run({}, environment());
    if (const std::string reason = missing(); !reason.empty()) GTEST_SKIP() << reason;
    std::set<std::string> commands;
    for (const Step& step : read_steps(read_file(README))) {
        std::vector<std::string> printed;
        for (const std::string& command : step.commands) {
            SCOPED_TRACE(command);
            ASSERT_EQ(command.rfind(kProgram, 0), 0u);
            commands.insert(arguments_of(command).at(0));
            for (std::string& line : printed_by(command)) printed.push_back(std::move(line));
        }
        EXPECT_TRUE(is_shown(simplified(printed), simplified(step.shown))) << step.commands[0];
    }
    EXPECT_THAT(commands, ElementsAreArray({"compare", "doctor", "export", "forget", "inspect",
                                            "list", "measure", "merge", "report", "show", "time"}));
}

INSTANTIATE_TEST_SUITE_P(On, Readme, testing::Values("llvmpipe", "softpipe", "zink"),
                         [](const auto& renderer) { return std::string(renderer.param); });

}  // namespace
}  // namespace texprobe::tests
