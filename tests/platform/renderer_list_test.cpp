// The renderers on scripted devices: which there are, which can be used, and their memory.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <thread>
#include <vector>

#include "CGL/renderers.h"
#include "doubles/laid_out_machine.h"
#include "doubles/scripted_egl.h"

namespace texprobe::tests {
namespace {

using namespace std::chrono_literals;
using platform::clamp_bytes;
using platform::renderer_id;
using platform::Renderers;
using testing::Each;
using testing::StartsWith;

constexpr GLint kUnset = -7;

ScriptedDevice refusing(const std::string& node) {
    ScriptedDevice device = hardware(node);
    device.failsAt = Step::kInitialize;
    device.error = EGL_NOT_INITIALIZED;
    return device;
}

ScriptedDevice with_nvidia_memory(const std::string& node, GLint kibibytes) {
    ScriptedDevice device = hardware(node);
    device.glExtensions = "GL_NVX_gpu_memory_info";
    device.glIntegers = {{0x9048, kibibytes}};
    return device;
}

/// Two GPUs with nodes renderD128 and renderD129 behind a scripted EGL.
class RendererList : public testing::Test {
protected:
    void SetUp() override {
        clearenv();  // Some variables would change the IDs.
        machine_.add_gpu("pci0/a", {"card0", "renderD128"}, "0x1002", "0x73df", "amdgpu");
        machine_.add_gpu("pci0/b", {"card1", "renderD129"}, "0x10de", "0x2204", "nvidia");
    }

    Renderers::System system(const ScriptedEgl& egl) const {
        return {egl.functions(), machine_.sysfs(), 20s};
    }

    static GLint id_of(const char* identity) {
        return static_cast<GLint>(renderer_id(identity, ""));
    }

    LaidOutMachine machine_;
    const GLint first_gpu_ = id_of("0x1002/0x73df/amdgpu");
    const GLint second_gpu_ = id_of("0x10de/0x2204/nvidia");
    const GLint software_ = id_of("software");
};

std::size_t count_calls(const ScriptedEgl& egl, const std::string& call) {
    const std::vector<std::string> calls = egl.calls();
    return static_cast<std::size_t>(std::count(calls.begin(), calls.end(), call));
}

TEST_F(RendererList, is_empty_without_a_device) {
    ScriptedEgl egl({});
    EXPECT_EQ(Renderers(system(egl)).count(), 0);
}

TEST_F(RendererList, tells_the_ids_without_opening_anything) {
    ScriptedEgl egl({software(), hardware("/dev/dri/renderD128")});
    const Renderers renderers(system(egl));
    ASSERT_EQ(renderers.count(), 2);
    GLint ids[2] = {};
    EXPECT_EQ(renderers.describe_id(0, &ids[0]), kCGLNoError);
    EXPECT_EQ(renderers.describe_id(1, &ids[1]), kCGLNoError);
    EXPECT_EQ(ids[0], first_gpu_);
    EXPECT_EQ(ids[1], software_);
    EXPECT_THAT(egl.calls(), Each(StartsWith("query_device")));
}

TEST_F(RendererList, tells_hardware_from_software_without_opening_anything) {
    ScriptedEgl egl({software(), hardware("/dev/dri/renderD128")});
    const Renderers renderers(system(egl));
    ASSERT_EQ(renderers.count(), 2);
    GLint accelerated[2] = {-7, -7};
    EXPECT_EQ(renderers.describe_accelerated(0, &accelerated[0]), kCGLNoError);
    EXPECT_EQ(renderers.describe_accelerated(1, &accelerated[1]), kCGLNoError);
    EXPECT_THAT(accelerated, testing::ElementsAre(1, 0));
    EXPECT_THAT(egl.calls(), Each(StartsWith("query_device")));
}

TEST_F(RendererList, has_another_id_for_another_driver_of_the_software_device) {
    setenv("GALLIUM_DRIVER", "softpipe", 1);
    ScriptedEgl egl({software()});
    GLint id = 0;
    EXPECT_EQ(Renderers(system(egl)).describe_id(0, &id), kCGLNoError);
    EXPECT_EQ(static_cast<std::uint32_t>(id), 0x3534fc5du);
    unsetenv("GALLIUM_DRIVER");
}

TEST_F(RendererList, opens_every_device_once_at_the_first_question_for_memory) {
    ScriptedEgl egl({hardware("/dev/dri/renderD128"), software(), hardware("/dev/dri/renderD129")});
    Renderers renderers(system(egl));
    GLint bytes = 0;
    EXPECT_EQ(renderers.describe_texture_memory(2, &bytes), kCGLNoError);
    EXPECT_EQ(count_calls(egl, "make_current 0"), 1u);
    EXPECT_EQ(count_calls(egl, "make_current 2"), 1u);
    EXPECT_EQ(count_calls(egl, "initialize 1"), 1u);
    const std::size_t calls = egl.calls().size();

    EGLDeviceEXT device = nullptr;
    EXPECT_EQ(renderers.describe_texture_memory(0, &bytes), kCGLNoError);
    EXPECT_EQ(renderers.describe_texture_memory(2, &bytes), kCGLNoError);
    EXPECT_EQ(renderers.find_device(first_gpu_, &device), kCGLNoError);
    EXPECT_EQ(device, egl.device(0));
    EXPECT_EQ(egl.calls().size(), calls);
}

TEST_F(RendererList, opens_hardware_in_other_processes_only) {
    ScriptedEgl egl({hardware("/dev/dri/renderD128"), software()});
    Renderers renderers(system(egl));
    GLint bytes = 0;
    EXPECT_EQ(renderers.describe_texture_memory(0, &bytes), kCGLNoError);
    for (const std::string& call : egl.calls_here()) {
        const bool listing = call.rfind("query_device", 0) == 0;
        EXPECT_TRUE(listing || call.back() == '1') << call;
    }
}

TEST_F(RendererList, opens_the_devices_before_a_pixel_format_too) {
    ScriptedEgl egl({refusing("/dev/dri/renderD128"), software()});
    Renderers renderers(system(egl));
    EGLDeviceEXT device = nullptr;
    testing::internal::CaptureStderr();
    EXPECT_EQ(renderers.find_device(software_, &device), kCGLNoError);
    EXPECT_EQ(device, egl.device(1));
    EXPECT_EQ(count_calls(egl, "initialize 0"), 1u);
    testing::internal::GetCapturedStderr();
}

TEST_F(RendererList, answers_every_question_about_an_unusable_device_with_an_error) {
    ScriptedEgl egl({refusing("/dev/dri/renderD128"), hardware("/dev/dri/renderD129")});
    Renderers renderers(system(egl));
    GLint value = kUnset;
    testing::internal::CaptureStderr();
    EXPECT_EQ(renderers.describe_texture_memory(0, &value), kCGLBadRendererInfo);
    EXPECT_EQ(renderers.describe_texture_memory(0, &value), kCGLBadRendererInfo);
    EXPECT_EQ(renderers.describe_id(0, &value), kCGLBadRendererInfo);
    EXPECT_EQ(renderers.describe_accelerated(0, &value), kCGLBadRendererInfo);
    EXPECT_EQ(value, kUnset);
    EGLDeviceEXT device = nullptr;
    EXPECT_EQ(renderers.find_device(first_gpu_, &device), kCGLBadRendererInfo);
    EXPECT_EQ(device, nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "*** EGL: the device /dev/dri/renderD128 cannot be used: eglInitialize failed with "
              "EGL_NOT_INITIALIZED\n");

    EXPECT_EQ(renderers.describe_id(1, &value), kCGLNoError);
    EXPECT_EQ(value, second_gpu_);
    EXPECT_EQ(renderers.describe_texture_memory(1, &value), kCGLNoError);
    EXPECT_EQ(renderers.find_device(second_gpu_, &device), kCGLNoError);
    EXPECT_EQ(device, egl.device(1));
}

TEST_F(RendererList, survives_devices_that_kill_and_devices_that_hang) {
    ScriptedDevice killing = hardware("/dev/dri/renderD128");
    killing.onInitialize = [] { raise(SIGSEGV); };
    ScriptedDevice hanging = hardware("/dev/dri/renderD129");
    hanging.onInitialize = [] {
        for (;;) pause();
    };
    ScriptedEgl egl({killing, hanging, software()});
    Renderers::System settings = system(egl);
    settings.openLimit = 200ms;
    Renderers renderers(std::move(settings));
    GLint bytes = 0;
    testing::internal::CaptureStderr();
    EXPECT_EQ(renderers.describe_texture_memory(0, &bytes), kCGLBadRendererInfo);
    EXPECT_EQ(renderers.describe_texture_memory(1, &bytes), kCGLBadRendererInfo);
    EXPECT_EQ(renderers.describe_texture_memory(2, &bytes), kCGLNoError);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "*** EGL: the device /dev/dri/renderD128 cannot be used: the process opening it was "
              "killed by signal "
              "11\n"
              "*** EGL: the device /dev/dri/renderD129 cannot be used: it did not answer within "
              "0.2 s\n");
}

TEST_F(RendererList, uses_the_first_entry_of_a_gpu_that_can_be_opened) {
    ScriptedEgl egl({refusing("/dev/dri/renderD129"),
                     with_nvidia_memory("/dev/dri/renderD129", 1024), hardware("/dev/dri/card1")});
    Renderers renderers(system(egl));
    ASSERT_EQ(renderers.count(), 1);
    GLint bytes = 0;
    EGLDeviceEXT device = nullptr;
    testing::internal::CaptureStderr();
    EXPECT_EQ(renderers.describe_texture_memory(0, &bytes), kCGLNoError);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(bytes, 1024 * 1024);
    EXPECT_EQ(renderers.find_device(second_gpu_, &device), kCGLNoError);
    EXPECT_EQ(device, egl.device(1));
    EXPECT_EQ(count_calls(egl, "initialize 2"), 0u);
}

TEST_F(RendererList, says_why_each_entry_of_an_unusable_gpu_cannot_be_opened) {
    ScriptedDevice exiting = hardware("/dev/dri/renderD129");
    exiting.onInitialize = [] { _exit(1); };
    ScriptedEgl egl({refusing("/dev/dri/renderD129"), exiting});
    Renderers renderers(system(egl));
    GLint bytes = 0;
    testing::internal::CaptureStderr();
    EXPECT_EQ(renderers.describe_texture_memory(0, &bytes), kCGLBadRendererInfo);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "*** EGL: the device /dev/dri/renderD129 cannot be used: eglInitialize failed with "
              "EGL_NOT_INITIALIZED; the process opening it exited with status 1\n");
}

TEST_F(RendererList, passes_over_an_unusable_gpu_for_a_usable_one_of_the_same_kind) {
    machine_.add_gpu("pci0/c", {"renderD130"}, "0x1002", "0x73df", "amdgpu");
    ScriptedEgl egl({refusing("/dev/dri/renderD128"), hardware("/dev/dri/renderD130")});
    Renderers renderers(system(egl));
    EGLDeviceEXT device = nullptr;
    testing::internal::CaptureStderr();
    EXPECT_EQ(renderers.find_device(first_gpu_, &device), kCGLNoError);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(device, egl.device(1));
}

TEST_F(RendererList, has_no_device_for_an_unknown_id) {
    ScriptedEgl egl({software()});
    Renderers renderers(system(egl));
    EGLDeviceEXT device = nullptr;
    EXPECT_EQ(renderers.find_device(software_ + 1, &device), kCGLBadPixelFormat);
}

TEST_F(RendererList, answers_for_a_software_device_that_refuses_with_an_error) {
    ScriptedDevice device = software();
    device.failsAt = Step::kInitialize;
    device.error = EGL_NOT_INITIALIZED;
    ScriptedEgl egl({device});
    Renderers renderers(system(egl));
    GLint bytes = 0;
    testing::internal::CaptureStderr();
    EXPECT_EQ(renderers.describe_texture_memory(0, &bytes), kCGLBadRendererInfo);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "*** EGL: the device software cannot be used: eglInitialize failed with "
              "EGL_NOT_INITIALIZED\n");
}

TEST_F(RendererList, takes_the_figure_of_the_kernel_driver_before_that_of_an_extension) {
    machine_.write_attribute("pci0/a", "mem_info_vram_total", "12345\n");
    ScriptedEgl egl({with_nvidia_memory("/dev/dri/renderD128", 1024)});
    Renderers renderers(system(egl));
    GLint bytes = 0;
    EXPECT_EQ(renderers.describe_texture_memory(0, &bytes), kCGLNoError);
    EXPECT_EQ(bytes, 12345);
}

TEST_F(RendererList, takes_the_memory_of_the_system_where_nobody_tells) {
    machine_.write_attribute("pci0/a", "mem_info_vram_total", "unknown\n");
    ScriptedEgl egl({hardware("/dev/dri/renderD128"), software()});
    Renderers renderers(system(egl));
    const auto memory = static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) *
                        static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    const auto expected = static_cast<GLint>(std::min<std::uint64_t>(memory, 0x7FFFFFFF));
    GLint bytes = 0;
    EXPECT_EQ(renderers.describe_texture_memory(0, &bytes), kCGLNoError);
    EXPECT_EQ(bytes, expected);
    EXPECT_EQ(renderers.describe_texture_memory(1, &bytes), kCGLNoError);
    EXPECT_EQ(bytes, expected);
}

TEST_F(RendererList, clamps_memory_to_what_a_signed_integer_holds) {
    ScriptedEgl egl({with_nvidia_memory("/dev/dri/renderD128", 8 * 1024 * 1024)});
    Renderers renderers(system(egl));
    GLint bytes = 0;
    EXPECT_EQ(renderers.describe_texture_memory(0, &bytes), kCGLNoError);
    EXPECT_EQ(bytes, 2147483647);
    EXPECT_EQ(clamp_bytes(0), 0);
    EXPECT_EQ(clamp_bytes(2147483647), 2147483647);
    EXPECT_EQ(clamp_bytes(2147483648), 2147483647);
    EXPECT_EQ(clamp_bytes(~0ull), 2147483647);
}

TEST_F(RendererList, checks_once_when_many_threads_ask_at_once) {
    ScriptedEgl egl({hardware("/dev/dri/renderD128"), refusing("/dev/dri/renderD129")});
    Renderers renderers(system(egl));
    CGLError errors[8] = {};
    testing::internal::CaptureStderr();
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < std::size(errors); ++i) {
        threads.emplace_back([&renderers, &errors, i] {
            GLint value = 0;
            renderers.describe_id(i % 2, &value);
            errors[i] = renderers.describe_texture_memory(i % 2, &value);
        });
    }
    for (std::thread& thread : threads) thread.join();
    testing::internal::GetCapturedStderr();
    for (std::size_t i = 0; i < std::size(errors); ++i) {
        EXPECT_EQ(errors[i], i % 2 == 0 ? kCGLNoError : kCGLBadRendererInfo);
    }
    EXPECT_EQ(count_calls(egl, "initialize 0"), 1u);
    EXPECT_EQ(count_calls(egl, "initialize 1"), 1u);
}

}  // namespace
}  // namespace texprobe::tests
