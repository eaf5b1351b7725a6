// What a renderer ID depends on, and what it does not. The records of every user are found by these
// numbers: a change here loses all verdicts.

#include <gtest/gtest.h>

#include <cstdlib>

#include "CGL/devices.h"
#include "laid_out_machine.h"
#include "scripted_egl.h"

namespace {

using texprobe::platform::driver_overrides;
using texprobe::platform::list_devices;
using texprobe::platform::renderer_id;
using texprobe::tests::hardware;
using texprobe::tests::LaidOutMachine;
using texprobe::tests::ScriptedEgl;

/// Sets a variable of the environment while it lives; a null value takes it away.
class Variable {
public:
    Variable(const char* name, const char* value) : name_(name) {
        if (const char* before = std::getenv(name)) {
            was_set_ = true;
            before_ = before;
        }
        set(value);
    }
    ~Variable() { set(was_set_ ? before_.c_str() : nullptr); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    void set(const char* value) const {
        if (value) {
            setenv(name_, value, 1);
        } else {
            unsetenv(name_);
        }
    }

    const char* name_;
    bool was_set_ = false;
    std::string before_;
};

std::uint32_t id_of_gpu(const std::string& slot, const std::string& node,
                        const std::string& driver) {
    const LaidOutMachine machine;
    machine.add_gpu(slot, {node}, "0x1002", "0x73df", driver);
    ScriptedEgl egl({hardware("/dev/dri/" + node)});
    return renderer_id(list_devices(egl.functions(), machine.sysfs()).at(0).identity, "");
}

// Computed apart from this program, with FNV-1a over the identity, a line feed and the overrides.
TEST(RendererId, is_the_published_hash) {
    EXPECT_EQ(renderer_id("software", ""), 0xbe457c6eu);
    EXPECT_EQ(renderer_id("software", "GALLIUM_DRIVER=softpipe\n"), 0x3534fc5du);
    EXPECT_EQ(renderer_id("0x1002/0x73df/amdgpu", ""), 0x944e81a2u);
    EXPECT_EQ(renderer_id("0x10de/0x2204/nvidia", "GALLIUM_DRIVER=softpipe\n"), 0x79a8789fu);
}

TEST(RendererId, is_not_0_even_where_the_hash_is) {
    EXPECT_EQ(renderer_id("cno9ia8", ""), 1u);
}

TEST(RendererId, of_a_gpu_does_not_depend_on_slot_or_node_number) {
    EXPECT_EQ(id_of_gpu("pci0000:00/0000:01:00.0", "renderD128", "amdgpu"), 0x944e81a2u);
    EXPECT_EQ(id_of_gpu("pci0000:00/0000:41:00.0", "card7", "amdgpu"), 0x944e81a2u);
}

TEST(RendererId, of_a_gpu_depends_on_its_kernel_driver) {
    EXPECT_NE(id_of_gpu("pci0/a", "renderD128", "radeon"), 0x944e81a2u);
}

TEST(DriverOverrides, are_the_set_variables_in_a_fixed_order) {
    const Variable gallium("GALLIUM_DRIVER", "softpipe");
    const Variable loader("MESA_LOADER_DRIVER_OVERRIDE", "zink");
    const Variable always("LIBGL_ALWAYS_SOFTWARE", "1");
    EXPECT_EQ(
        driver_overrides(),
        "GALLIUM_DRIVER=softpipe\nMESA_LOADER_DRIVER_OVERRIDE=zink\nLIBGL_ALWAYS_SOFTWARE=1\n");
}

TEST(DriverOverrides, leave_out_variables_that_are_empty_or_not_set) {
    const Variable gallium("GALLIUM_DRIVER", "");
    const Variable loader("MESA_LOADER_DRIVER_OVERRIDE", nullptr);
    const Variable always("LIBGL_ALWAYS_SOFTWARE", "true");
    EXPECT_EQ(driver_overrides(), "LIBGL_ALWAYS_SOFTWARE=true\n");
}

TEST(DriverOverrides, are_empty_in_an_empty_environment) {
    const Variable gallium("GALLIUM_DRIVER", nullptr);
    const Variable loader("MESA_LOADER_DRIVER_OVERRIDE", nullptr);
    const Variable always("LIBGL_ALWAYS_SOFTWARE", nullptr);
    EXPECT_EQ(driver_overrides(), "");
}

}  // namespace
