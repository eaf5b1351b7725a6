#include "scripted_application.h"

namespace texprobe::tests {

ScriptedApplication::ScriptedApplication() : folder_(empty_folder(SCRIPTED_TOOL)) {
    machine() = {};
    machine().displays = {{1, {{kScriptedRendererID}}}};
    machine().vendor = kScriptedVendor;
    machine().version = kScriptedVersion;
    machine().renderer = kScriptedRenderer;
    folder_.script(measured());
}

std::string ScriptedApplication::measured() {
    const std::string set = std::string("set ") + kScriptedApplication;
    return set + " VERSION number 0.21\n" + set + " GL_VENDOR text " + kScriptedVendor + "\n" +
           set + " GL_VERSION text " + kScriptedVersion + "\n" + set + " GL_RENDERER text " +
           kScriptedRenderer + "\n" + set + " GL_RGB16F_ARB_SUPPORTED true\nsync " +
           kScriptedApplication + "\n";
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
