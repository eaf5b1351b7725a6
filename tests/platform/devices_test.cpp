// The list of devices, on a scripted EGL and laid-out machines.

#include "CGL/devices.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "doubles/laid_out_machine.h"
#include "doubles/scripted_egl.h"

namespace texprobe::tests {
namespace {

using platform::can_list_devices;
using platform::Device;
using platform::Egl;
using platform::has_extension;
using platform::list_devices;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> identities(const std::vector<Device>& devices) {
    std::vector<std::string> texts;
    texts.reserve(devices.size());
    for (const Device& device : devices) texts.push_back(device.identity);
    return texts;
}

TEST(Devices, are_none_where_egl_cannot_list_them) {
    EXPECT_THAT(list_devices(Egl(), "/nowhere"), IsEmpty());
}

TEST(Devices, are_none_where_egl_fails_to_list_them) {
    ScriptedEgl egl({software()});
    egl.failsAt = Step::kQueryDevices;
    EXPECT_THAT(list_devices(egl.functions(), "/nowhere"), IsEmpty());
}

TEST(Devices, are_none_where_there_is_none) {
    ScriptedEgl egl({});
    EXPECT_THAT(list_devices(egl.functions(), "/nowhere"), IsEmpty());
}

TEST(Devices, that_are_hardware_come_before_software) {
    const LaidOutMachine machine;
    machine.add_gpu("pci0/a", {"card0", "renderD128"}, "0x1002", "0x73df", "amdgpu");
    machine.add_gpu("pci0/b", {"card1", "renderD129"}, "0x8086", "0x9a49", "i915");
    ScriptedEgl egl({software(), hardware("/dev/dri/renderD128"), hardware("/dev/dri/renderD129")});
    const std::vector<Device> devices = list_devices(egl.functions(), machine.sysfs());
    EXPECT_THAT(identities(devices),
                ElementsAre("0x1002/0x73df/amdgpu", "0x8086/0x9a49/i915", "software"));
    EXPECT_FALSE(devices.at(0).software);
    EXPECT_TRUE(devices.at(2).software);
    EXPECT_EQ(devices[0].name, "/dev/dri/renderD128");
}

TEST(Devices, are_one_for_a_gpu_that_two_vendors_list) {
    const LaidOutMachine machine;
    machine.add_gpu("pci0/a", {"card0", "renderD128"}, "0x10de", "0x2204", "nvidia");
    ScriptedDevice byPrimaryNode;
    byPrimaryNode.extensions = "EGL_EXT_device_drm";
    byPrimaryNode.strings[EGL_DRM_DEVICE_FILE_EXT] = "/dev/dri/card0";
    ScriptedEgl egl({byPrimaryNode, software(), hardware("/dev/dri/renderD128")});
    const std::vector<Device> devices = list_devices(egl.functions(), machine.sysfs());
    ASSERT_THAT(identities(devices), ElementsAre("0x10de/0x2204/nvidia", "software"));
    EXPECT_THAT(devices[0].entries, ElementsAre(egl.device(0), egl.device(2)));
    EXPECT_THAT(devices[1].entries, ElementsAre(egl.device(1)));
}

TEST(Devices, are_two_for_two_gpus_of_one_kind) {
    const LaidOutMachine machine;
    machine.add_gpu("pci0/a", {"renderD128"}, "0x10de", "0x2204", "nvidia");
    machine.add_gpu("pci0/b", {"renderD129"}, "0x10de", "0x2204", "nvidia");
    ScriptedEgl egl({hardware("/dev/dri/renderD128"), hardware("/dev/dri/renderD129")});
    const std::vector<Device> devices = list_devices(egl.functions(), machine.sysfs());
    ASSERT_EQ(devices.size(), 2u);
    EXPECT_EQ(devices[0].identity, devices[1].identity);
    EXPECT_NE(devices[0].gpu.directory, devices[1].gpu.directory);
}

TEST(Devices, are_one_for_all_software_entries) {
    ScriptedEgl egl({software(), software()});
    const std::vector<Device> devices = list_devices(egl.functions(), "/nowhere");
    ASSERT_THAT(identities(devices), ElementsAre("software"));
    EXPECT_THAT(devices[0].entries, ElementsAre(egl.device(0), egl.device(1)));
}

TEST(Devices, of_the_software_renderer_are_the_same_with_and_without_a_node) {
    const LaidOutMachine machine;
    machine.add_gpu("platform/vgem", {"renderD128"}, "", "", "vgem");
    ScriptedDevice withNode = hardware("/dev/dri/renderD128");
    withNode.extensions += " EGL_MESA_device_software";
    ScriptedEgl egl({withNode, software()});
    EXPECT_THAT(identities(list_devices(egl.functions(), machine.sysfs())),
                ElementsAre("software"));
}

TEST(Devices, off_the_pci_bus_are_what_the_kernel_calls_them) {
    const LaidOutMachine machine;
    machine.add_gpu("platform/soc/v3d", {"renderD128"}, "", "", "v3d");
    machine.write_attribute("platform/soc/v3d", "modalias", "of:NgpuT(null)Cbrcm,2711-v3d\n");
    ScriptedEgl egl({hardware("/dev/dri/renderD128")});
    EXPECT_THAT(identities(list_devices(egl.functions(), machine.sysfs())),
                ElementsAre("/of:NgpuT(null)Cbrcm,2711-v3d/v3d"));
}

TEST(Devices, without_a_node_are_what_their_driver_calls_them) {
    ScriptedDevice device;
    device.extensions = "EGL_EXT_device_query_name EGL_EXT_device_persistent_id";
    device.strings = {
        {EGL_VENDOR, "NVIDIA"}, {EGL_RENDERER_EXT, "NVIDIA H100"}, {EGL_DRIVER_NAME_EXT, "nvidia"}};
    ScriptedEgl egl({device});
    const std::vector<Device> devices = list_devices(egl.functions(), "/nowhere");
    ASSERT_THAT(identities(devices), ElementsAre("NVIDIA/NVIDIA H100/nvidia"));
    EXPECT_EQ(devices[0].name, "NVIDIA/NVIDIA H100/nvidia");
}

TEST(Devices, whose_node_sysfs_does_not_know_are_told_apart_by_their_driver) {
    ScriptedDevice device = hardware("/dev/dri/renderD128");
    device.extensions += " EGL_EXT_device_query_name";
    device.strings[EGL_VENDOR] = "AMD";
    device.strings[EGL_RENDERER_EXT] = "Navi 22";
    ScriptedEgl egl({device, hardware("/dev/dri/renderD129")});
    const std::vector<Device> devices = list_devices(egl.functions(), "/nowhere");
    ASSERT_THAT(identities(devices), ElementsAre("AMD/Navi 22/", "//"));
    EXPECT_EQ(devices[0].name, "/dev/dri/renderD128");
}

TEST(Devices, are_asked_for_strings_only_and_only_for_those_that_they_offer) {
    ScriptedDevice bare;
    bare.strings[EGL_VENDOR] = "not offered";
    ScriptedEgl egl({bare, software()});
    list_devices(egl.functions(), "/nowhere");
    const std::string extensions = std::to_string(EGL_EXTENSIONS);
    EXPECT_THAT(egl.calls(),
                ElementsAre("query_devices", "query_devices", "query_device_string 0 " + extensions,
                            "query_device_string 1 " + extensions));
}

TEST(Devices, with_null_strings_are_listed) {
    ScriptedDevice device;
    device.extensions = "EGL_EXT_device_query_name EGL_EXT_device_drm EGL_EXT_device_persistent_id";
    ScriptedEgl egl({device});
    EXPECT_THAT(identities(list_devices(egl.functions(), "/nowhere")), ElementsAre("//"));
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
