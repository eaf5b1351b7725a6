// An application on the scripted machine that constructs the class with shell scripts as tools.

#ifndef TEXPROBE_TESTS_SCRIPTED_APPLICATION_H
#define TEXPROBE_TESTS_SCRIPTED_APPLICATION_H

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "TexProbe.h"
#include "records_of_test.h"
#include "scripted_machine.h"
#include "scripted_records.h"
#include "support/tool_folder.h"
#include "tool_scripts.h"

namespace texprobe::tests {

class ScriptedApplication : public testing::Test {
protected:
    ScriptedApplication();

    void write_identity_of_renderer() const;

    /// Constructs the class and keeps everything written to standard error meanwhile.
    std::unique_ptr<qor::TexProbe> construct(const std::string& toolPath);

    /// The answer of one query; keeps what it writes to standard error.
    template <typename Query>
    bool ask(Query query) {
        testing::internal::CaptureStderr();
        const bool answer = query();
        messages_ = testing::internal::GetCapturedStderr();
        return answer;
    }

    const ToolFolder& folder_;
    const ToolScripts scripts_{folder_};
    std::string messages_;
};

}  // namespace texprobe::tests

#endif
