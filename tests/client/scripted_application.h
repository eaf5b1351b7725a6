// An application on the scripted machine, which has one renderer, and its tool, which writes the
// complete records of that unless it is told something else.

#ifndef TEXPROBE_TESTS_SCRIPTED_APPLICATION_H
#define TEXPROBE_TESTS_SCRIPTED_APPLICATION_H

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "TexProbe.h"
#include "doubles/scripted_machine.h"
#include "records_of_test.h"
#include "support/tool_folder.h"

namespace texprobe::tests {

constexpr int kScriptedRendererID = 0xff;
constexpr char kScriptedApplication[] = "org.texprobe.texprobe2.ff.22G120";
constexpr char kScriptedVendor[] = "Vendor";
constexpr char kScriptedVersion[] = "2.1 Version";
constexpr char kScriptedRenderer[] = "Renderer";

class ScriptedApplication : public testing::Test {
protected:
    ScriptedApplication();

    /// What the tool does then.
    static std::string measured();
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
    std::string messages_;
};

}  // namespace texprobe::tests

#endif
