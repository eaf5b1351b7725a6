#include "scripted_application.h"

namespace texprobe::tests {

ScriptedApplication::ScriptedApplication() : folder_(empty_folder(STAND_IN_TOOL)) {
    machine() = {};
    machine().displays = {{1, {{kScriptedRendererID}}}};
    machine().vendor = kScriptedVendor;
    machine().version = kScriptedVersion;
    machine().renderer = kScriptedRenderer;
}

void ScriptedApplication::write_identity_of_renderer() const {
    write_identity(kScriptedApplication, kScriptedVendor, kScriptedVersion, kScriptedRenderer);
}

std::unique_ptr<qor::TexProbe> ScriptedApplication::construct(const std::string& toolPath) {
    testing::internal::CaptureStderr();
    auto probe = std::make_unique<qor::TexProbe>(toolPath.c_str());
    messages_ = testing::internal::GetCapturedStderr();
    return probe;
}

}  // namespace texprobe::tests
