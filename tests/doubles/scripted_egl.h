// A scripted EGL, whose devices do what a test tells them. Its functions replace libEGL's in the
// program that it is linked into.

#ifndef TEXPROBE_TESTS_SCRIPTED_EGL_H
#define TEXPROBE_TESTS_SCRIPTED_EGL_H

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "CGL/egl.h"
#include "support/scratch_folder.h"

namespace texprobe::tests {

/// The call that fails on a device.
enum class Step {
    kNone,
    kGetPlatformDisplay,
    kInitialize,
    kChooseConfig,
    kCreateContext,
    kCreateSurface,
    kDestroySurface,
    kMakeCurrent,
    kGetString
};

struct ScriptedDevice {
    std::string extensions;
    std::map<EGLint, std::string> strings;

    Step failsAt = Step::kNone;
    EGLint error = EGL_SUCCESS;          ///< What eglGetError returns for that failure.
    std::function<void()> onInitialize;  ///< Runs in eglInitialize, in any process.
    std::string glExtensions;
    std::map<unsigned, int> glIntegers;
    std::vector<int> configBits = {8};  ///< The bits per channel of each configuration.
};

/// A hardware device with a render node.
ScriptedDevice hardware(const std::string& node);
ScriptedDevice software();

/// There is one scripted EGL at a time. Its devices are referred to by index.
class ScriptedEgl {
public:
    explicit ScriptedEgl(std::vector<ScriptedDevice> itsDevices);
    ~ScriptedEgl();
    ScriptedEgl(const ScriptedEgl&) = delete;
    ScriptedEgl& operator=(const ScriptedEgl&) = delete;

    EGLDeviceEXT device(std::size_t index) const;

    /// The calls so far, of this process and its children, such as "initialize 0".
    std::vector<std::string> calls() const;
    /// The calls of this process only.
    std::vector<std::string> calls_here() const;

    std::vector<ScriptedDevice> devices;
    std::string clientExtensions = "EGL_EXT_device_base";
    bool listsDevices = true;

    void log(const std::string& call) const;

private:
    std::vector<std::string> calls_of(const std::string& process) const;
    ScratchFolder folder_;
};

}  // namespace texprobe::tests

#endif
