// An EGL whose devices do what a test tells them to.

#ifndef TEXPROBE_TESTS_SCRIPTED_EGL_H
#define TEXPROBE_TESTS_SCRIPTED_EGL_H

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "CGL/egl.h"
#include "laid_out_machine.h"

namespace texprobe::tests {

/// The call that a device fails at.
enum class Step {
    kNone,
    kQueryDevices,
    kGetPlatformDisplay,
    kInitialize,
    kChooseConfig,
    kCreateContext,
    kCreateSurface,
    kMakeCurrent,
    kGetString
};

struct ScriptedDevice {
    std::string extensions;
    std::map<EGLint, std::string> strings;

    Step fails_at = Step::kNone;
    EGLint error = EGL_SUCCESS;           ///< What eglGetError says of that failure.
    std::function<void()> on_initialize;  ///< Runs in eglInitialize, in whichever process that is.
    std::string gl_extensions;
    std::map<GLenum, GLint> gl_integers;
    std::vector<int> config_bits = {8};  ///< The bits a channel of each configuration.
};

/// A hardware device with a render node.
ScriptedDevice hardware(const std::string& node);
ScriptedDevice software();

/// The one EGL that is scripted at a time. Its devices are called by their index.
class ScriptedEgl {
public:
    explicit ScriptedEgl(std::vector<ScriptedDevice> devices);
    ~ScriptedEgl();
    ScriptedEgl(const ScriptedEgl&) = delete;
    ScriptedEgl& operator=(const ScriptedEgl&) = delete;

    platform::Egl functions() const;
    EGLDeviceEXT device(std::size_t index);

    /// The calls so far, of this process and of its children: "initialize 0", say.
    std::vector<std::string> calls() const;
    /// Those that were made by this process.
    std::vector<std::string> calls_here() const;

    Step fails_at = Step::kNone;  ///< kQueryDevices, which concerns no single device.

private:
    friend struct Script;
    void log(const std::string& call) const;

    std::vector<ScriptedDevice> devices_;
    TemporaryFolder folder_;
};

}  // namespace texprobe::tests

#endif
