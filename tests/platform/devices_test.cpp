// The list of devices, on a scripted EGL and a laid-out machine.

#include "CGL/devices.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "doubles/laid_out_machine.h"
#include "doubles/scripted_egl.h"

namespace texprobe::tests {
namespace {

using platform::can_list_devices;
using platform::has_extension;
using testing::ElementsAre;
using testing::IsEmpty;

/// Each device as "IDENTITY (NAME)", followed by its entries in EGL's list.
std::vector<std::string> listed_devices(const ScriptedEgl& egl, const LaidOutMachine& machine) {
    const std::vector<platform::Device> devices = platform::list_devices(machine.sysfs());
    std::vector<std::string> texts;
    texts.reserve(devices.size());
    for (const platform::Device& device : devices) {
        std::string text = device.identity + " (" + device.name + ")";
        for (std::size_t i = 0; i < egl.devices.size(); ++i) {
            const auto& entries = device.entries;
            const bool isEntry =
                std::find(entries.begin(), entries.end(), egl.device(i)) != entries.end();
            if (isEntry) text += " #" + std::to_string(i);
        }
        EXPECT_EQ(device.software, device.identity == "software");
        texts.push_back(text);
    }
    return texts;
}

ScriptedDevice by_primary_node(const std::string& node) {
    ScriptedDevice device;
    device.extensions = "EGL_EXT_device_drm";
    device.strings[EGL_DRM_DEVICE_FILE_EXT] = node;
    return device;
}

/// A device whose driver has names for it, such as it offers.
ScriptedDevice with_names(ScriptedDevice device, const std::map<EGLint, std::string>& names) {
    device.extensions += " EGL_EXT_device_query_name EGL_EXT_device_persistent_id";
    device.strings.insert(names.begin(), names.end());
    return device;
}

TEST(Devices, are_the_gpus_in_the_order_of_egl_and_then_the_software_renderer) {
    const LaidOutMachine machine;
    machine.add_gpu("pci0/a", {"card0", "renderD128"}, "0x10de", "0x2204", "nvidia");
    machine.add_gpu("pci0/b", {"renderD129"}, "0x10de", "0x2204", "nvidia");
    machine.add_gpu("pci0/c", {"renderD130"}, "0x8086", "0x9a49", "i915");
    machine.add_gpu("platform/vgem", {"renderD131"}, "", "", "vgem");
    machine.add_gpu("platform/soc/v3d", {"renderD132"}, "", "", "v3d");
    machine.write_attribute("platform/soc/v3d", "modalias", "of:NgpuT(null)Cbrcm,2711-v3d\n");
    const ScriptedDevice nvidia = hardware("/dev/dri/renderD128");
    ScriptedDevice softwareWithNode = hardware("/dev/dri/renderD131");
    softwareWithNode.extensions += " EGL_MESA_device_software";
    const struct {
        const char* outcome;
        std::vector<ScriptedDevice> devices;
        std::vector<std::string> expected;
    } rows[] = {{"none where there is none", {}, {}},
                {"hardware first",
                 {software(), hardware("/dev/dri/renderD130"), nvidia},
                 {"0x8086/0x9a49/i915 (/dev/dri/renderD130) #1",
                  "0x10de/0x2204/nvidia (/dev/dri/renderD128) #2", "software (software) #0"}},
                {"one for a GPU that two vendors list",
                 {by_primary_node("/dev/dri/card0"), software(), nvidia},
                 {"0x10de/0x2204/nvidia (/dev/dri/card0) #0 #2", "software (software) #1"}},
                {"two for two GPUs of one kind, whatever their slots and nodes",
                 {nvidia, hardware("/dev/dri/renderD129")},
                 {"0x10de/0x2204/nvidia (/dev/dri/renderD128) #0",
                  "0x10de/0x2204/nvidia (/dev/dri/renderD129) #1"}},
                {"one for all software entries, with a node or without",
                 {softwareWithNode, software(), software()},
                 {"software (software) #0 #1 #2"}},
                {"off the PCI bus called as the kernel calls them",
                 {hardware("/dev/dri/renderD132")},
                 {"/of:NgpuT(null)Cbrcm,2711-v3d/v3d (/dev/dri/renderD132) #0"}},
                {"without a node called as their driver calls them",
                 {with_names({}, {{EGL_VENDOR, "NVIDIA"},
                                  {EGL_RENDERER_EXT, "NVIDIA H100"},
                                  {EGL_DRIVER_NAME_EXT, "nvidia"}})},
                 {"NVIDIA/NVIDIA H100/nvidia (NVIDIA/NVIDIA H100/nvidia) #0"}},
                {"unknown to sysfs told apart by their drivers",
                 {with_names(hardware("/dev/dri/renderD7"),
                             {{EGL_VENDOR, "AMD"}, {EGL_RENDERER_EXT, "Navi 22"}}),
                  hardware("/dev/dri/renderD8")},
                 {"AMD/Navi 22/ (/dev/dri/renderD7) #0", "// (/dev/dri/renderD8) #1"}},
                {"listed with null strings", {with_names({}, {})}, {"// (//) #0"}}};
    for (const auto& row : rows) {
        const ScriptedEgl egl(row.devices);
        EXPECT_EQ(listed_devices(egl, machine), row.expected) << row.outcome;
    }
}

TEST(Devices, are_none_where_egl_cannot_list_them_or_fails_to) {
    ScriptedEgl egl({software()});
    egl.listsDevices = false;
    EXPECT_THAT(platform::list_devices("/nowhere"), IsEmpty());
    egl.listsDevices = true;
    egl.clientExtensions = "EGL_EXT_platform_base";
    EXPECT_THAT(platform::list_devices("/nowhere"), IsEmpty());
}

TEST(Devices, are_asked_for_strings_only_and_only_for_those_that_they_offer) {
    ScriptedDevice bare;
    bare.strings[EGL_VENDOR] = "not offered";
    const ScriptedEgl egl({bare, software()});
    platform::list_devices("/nowhere");
    const std::string extensions = std::to_string(EGL_EXTENSIONS);
    EXPECT_THAT(egl.calls(),
                ElementsAre("query_devices", "query_devices", "query_device_string 0 " + extensions,
                            "query_device_string 1 " + extensions));
}

TEST(Devices, can_be_listed_with_either_of_two_sets_of_extensions) {
    EXPECT_TRUE(can_list_devices("EGL_EXT_platform_base EGL_EXT_device_base"));
    EXPECT_TRUE(can_list_devices("EGL_EXT_device_enumeration EGL_EXT_device_query"));
    EXPECT_FALSE(can_list_devices("EGL_EXT_device_enumeration"));
    EXPECT_FALSE(can_list_devices("EGL_EXT_device_query EGL_EXT_platform_device"));
    EXPECT_FALSE(can_list_devices(nullptr));
}

TEST(HasExtension, finds_whole_words_only) {
    EXPECT_TRUE(has_extension("EGL_A EGL_B", "EGL_A"));
    EXPECT_TRUE(has_extension("EGL_A EGL_B", "EGL_B"));
    EXPECT_TRUE(has_extension("  EGL_A  ", "EGL_A"));
    EXPECT_FALSE(has_extension("EGL_A_B EGL_AB", "EGL_A"));
    EXPECT_FALSE(has_extension("", "EGL_A"));
    EXPECT_FALSE(has_extension(nullptr, "EGL_A"));
}

}  // namespace
}  // namespace texprobe::tests
