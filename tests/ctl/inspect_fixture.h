// A renderer that was measured, and `texprobectl inspect` on it with the faults that a script
// names.

#ifndef TEXPROBE_TESTS_INSPECT_FIXTURE_H
#define TEXPROBE_TESTS_INSPECT_FIXTURE_H

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

#include "ctl/ctl_folder.h"
#include "support/formats.h"

namespace texprobe::tests {

inline constexpr int kSet = 2;
inline constexpr int kReset = 3;
inline constexpr int kGet = 4;
inline constexpr int kRead = 5;
inline constexpr const char* kWords[] = {"create", "render", "set", "reset", "get", "read"};

inline unsigned number_of(const std::string& format) {
    for (const Format& known : kFormats) {
        if (known.name == format) return known.internalFormat;
    }
    throw std::invalid_argument(format);
}

/// The paragraph behind the heading, on one line.
inline std::string sentence_of(const std::string& text) {
    const std::size_t begin = text.find("\n\n") + 2;
    return std::regex_replace(text.substr(begin, text.find("\n\n", begin) - begin),
                              std::regex("\n"), " ");
}

class Inspect : public testing::Test {
protected:
    void SetUp() override {
        const Finished measured = folder_.ctl({"measure"});
        ASSERT_TRUE(measured.exited_with(0)) << measured.err;
        std::filesystem::create_directory(folder_.file("tmp"));
    }

    Finished inspect(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "inspect");
        return folder_.ctl(arguments, environment_);
    }

    /// What it says with this fault in this test.
    Finished inspect_with(const std::string& fault, const std::string& format, int capability) {
        write_file(folder_.file("faults"), std::to_string(number_of(format)) + ' ' +
                                               std::to_string(capability) + ' ' + fault + '\n');
        return inspect({format, kWords[capability], "--timeout", "15"});
    }

    std::string sentence_with(const std::string& fault, const std::string& format, int capability) {
        const Finished finished = inspect_with(fault, format, capability);
        EXPECT_TRUE(finished.exited_with(0)) << finished.err;
        return sentence_of(finished.out);
    }

    bool has_left_files() const { return !std::filesystem::is_empty(folder_.file("tmp")); }

    CtlFolder folder_{FAILING_CTL, TOOL};
    const Environment environment_{"TMPDIR=" + folder_.file("tmp").string()};
};

}  // namespace texprobe::tests

#endif
