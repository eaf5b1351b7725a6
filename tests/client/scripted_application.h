// The class on the scripted machine, with a tool that does what a script tells it.

#ifndef TEXPROBE_TESTS_SCRIPTED_APPLICATION_H
#define TEXPROBE_TESTS_SCRIPTED_APPLICATION_H

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "TexProbe.h"
#include "doubles/scripted_machine.h"
#include "records_of_test.h"

namespace texprobe::tests {

/// The machine has one renderer, and the tool records a complete set of it.
class ScriptedApplication : public testing::Test {
protected:
    ScriptedApplication() {
        machine() = {};
        machine().displays = {{1, {{0xff}}}};
        folder_.script(complete_set());
    }

    /// The result of an action; keeps what it writes to standard error.
    template <typename Action>
    auto heard(Action action) {
        testing::internal::CaptureStderr();
        auto result = action();
        messages_ = testing::internal::GetCapturedStderr();
        return result;
    }
    std::unique_ptr<qor::TexProbe> construct(const char* toolPath) {
        return heard([&] { return std::make_unique<qor::TexProbe>(toolPath); });
    }

    const ToolFolder& folder_ = empty_folder(SCRIPTED_TOOL);
    std::string messages_;
};

}  // namespace texprobe::tests

#endif
