// The renderers on scripted devices: which there are, which can be used, and their memory.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <thread>
#include <vector>

#include "CGL/renderers.h"
#include "doubles/laid_out_machine.h"
#include "doubles/scripted_egl.h"

namespace texprobe::tests {
namespace {

using namespace std::chrono_literals;
using platform::renderer_id;
using platform::Renderers;
using testing::Each;
using testing::StartsWith;

ScriptedDevice refusing(ScriptedDevice device) {
    device.failsAt = Step::kInitialize;
    device.error = EGL_NOT_INITIALIZED;
    return device;
}

ScriptedDevice with_nvidia_memory(ScriptedDevice device, int kibibytes) {
    device.glExtensions = "GL_NVX_gpu_memory_info";
    device.glIntegers = {{0x9048, kibibytes}};
    return device;
}

std::string cannot_be_used(const std::string& name, const std::string& reason) {
    return "*** EGL: the device " + name + " cannot be used: " + reason + "\n";
}

/// Two GPUs with nodes renderD128 and renderD129 behind a scripted EGL.
class RendererList : public testing::Test {
protected:
    void SetUp() override {
        clearenv();  // Some variables would change the IDs.
        machine_.add_gpu("pci0/a", {"card0", "renderD128"}, "0x1002", "0x73df", "amdgpu");
        machine_.add_gpu("pci0/b", {"card1", "renderD129"}, "0x10de", "0x2204", "nvidia");
        testing::internal::CaptureStderr();
    }
    void TearDown() override {
        EXPECT_EQ(testing::internal::GetCapturedStderr(), expected_output_);
    }

    void list(std::vector<ScriptedDevice> devices, std::chrono::milliseconds openLimit = 20s) {
        egl_.emplace(std::move(devices));
        renderers_.emplace(Renderers::System{machine_.sysfs(), openLimit});
    }

    /// The value; an error's number if there is none, which no value here is.
    GLint ask(std::size_t index, CGLRendererProperty property) {
        constexpr GLint kUnset = -7;
        GLint value = kUnset;
        const CGLError error = renderers_->describe(index, property, &value);
        EXPECT_EQ(value == kUnset, error != kCGLNoError);
        return error == kCGLNoError ? value : static_cast<GLint>(error);
    }
    GLint id(std::size_t index) { return ask(index, kCGLRPRendererID); }
    GLint memory(std::size_t index) { return ask(index, kCGLRPTextureMemory); }

    /// The index of the device that has this ID; an error's number if there is none.
    int device_of(GLint id) {
        EGLDeviceEXT device = nullptr;
        const CGLError error = renderers_->find_device(id, &device);
        EXPECT_EQ(device == nullptr, error != kCGLNoError);
        if (error != kCGLNoError) return static_cast<int>(error);
        return static_cast<int>(static_cast<char*>(device) - static_cast<char*>(egl_->device(0)));
    }

    std::ptrdiff_t count_calls(const std::string& call) const {
        const std::vector<std::string> calls = egl_->calls();
        return std::count(calls.begin(), calls.end(), call);
    }

    static GLint id_of(const char* identity) {
        return static_cast<GLint>(renderer_id(identity, ""));
    }

    const ScriptedDevice gpu128_ = hardware("/dev/dri/renderD128");
    const ScriptedDevice gpu129_ = hardware("/dev/dri/renderD129");
    const GLint first_gpu_ = id_of("0x1002/0x73df/amdgpu");
    const GLint second_gpu_ = id_of("0x10de/0x2204/nvidia");
    const GLint software_ = id_of("software");
    LaidOutMachine machine_;
    std::optional<ScriptedEgl> egl_;
    std::optional<Renderers> renderers_;
    std::string expected_output_;
};

TEST_F(RendererList, tells_ids_and_hardware_from_software_without_opening_anything) {
    list({software(), gpu128_});
    ASSERT_EQ(renderers_->count(), 2);
    EXPECT_EQ(id(0), first_gpu_);
    EXPECT_EQ(id(1), software_);
    EXPECT_EQ(ask(0, kCGLRPAccelerated), 1);
    EXPECT_EQ(ask(1, kCGLRPAccelerated), 0);
    EXPECT_THAT(egl_->calls(), Each(StartsWith("query_device")));
    list({});
    EXPECT_EQ(renderers_->count(), 0);
}

TEST_F(RendererList, has_another_id_for_another_driver_of_the_software_device) {
    setenv("GALLIUM_DRIVER", "softpipe", 1);
    list({software()});
    EXPECT_EQ(static_cast<std::uint32_t>(id(0)), 0x3534fc5du);
    unsetenv("GALLIUM_DRIVER");
}

TEST_F(RendererList, opens_every_device_once_and_hardware_in_other_processes_only) {
    list({gpu128_, software(), gpu129_});
    memory(2);
    EXPECT_EQ(count_calls("make_current 0"), 1);
    EXPECT_EQ(count_calls("make_current 2"), 1);
    EXPECT_EQ(count_calls("initialize 1"), 1);
    for (const std::string& call : egl_->calls_here()) {
        EXPECT_TRUE(call.rfind("query_device", 0) == 0 || call.back() == '1') << call;
    }
    const std::size_t calls = egl_->calls().size();
    memory(0);
    memory(2);
    EXPECT_EQ(device_of(first_gpu_), 0);
    EXPECT_EQ(egl_->calls().size(), calls);
}

TEST_F(RendererList, answers_every_question_about_an_unusable_device_with_an_error) {
    list({refusing(gpu128_), gpu129_, refusing(software())});
    for (const std::size_t unusable : {0u, 2u}) {
        EXPECT_EQ(memory(unusable), kCGLBadRendererInfo);
        EXPECT_EQ(memory(unusable), kCGLBadRendererInfo);
        EXPECT_EQ(id(unusable), kCGLBadRendererInfo);
        EXPECT_EQ(ask(unusable, kCGLRPAccelerated), kCGLBadRendererInfo);
    }
    EXPECT_EQ(device_of(first_gpu_), kCGLBadRendererInfo);
    const std::string reason = "eglInitialize failed with EGL_NOT_INITIALIZED";
    expected_output_ =
        cannot_be_used("/dev/dri/renderD128", reason) + cannot_be_used("software", reason);

    EXPECT_EQ(id(1), second_gpu_);
    EXPECT_GT(memory(1), 0);
    EXPECT_EQ(device_of(second_gpu_), 1);
}

TEST_F(RendererList, uses_the_first_entry_of_a_gpu_that_can_be_opened) {
    list({refusing(gpu129_), with_nvidia_memory(gpu129_, 1024), hardware("/dev/dri/card1")});
    ASSERT_EQ(renderers_->count(), 1);
    EXPECT_EQ(memory(0), 1024 * 1024);
    EXPECT_EQ(device_of(second_gpu_), 1);
    EXPECT_EQ(count_calls("initialize 2"), 0);
}

TEST_F(RendererList, says_why_each_entry_of_an_unusable_gpu_cannot_be_opened) {
    ScriptedDevice hanging = gpu129_;
    hanging.onInitialize = [] {
        for (;;) pause();
    };
    list({refusing(gpu129_), hanging, software()}, 200ms);
    EXPECT_EQ(memory(0), kCGLBadRendererInfo);
    EXPECT_GT(memory(1), 0);
    expected_output_ = cannot_be_used("/dev/dri/renderD129",
                                      "eglInitialize failed with EGL_NOT_INITIALIZED; it did not "
                                      "answer within 0.2 s");
}

TEST_F(RendererList, passes_over_an_unusable_gpu_for_a_usable_one_of_the_same_kind) {
    machine_.add_gpu("pci0/c", {"renderD130"}, "0x1002", "0x73df", "amdgpu");
    list({refusing(gpu128_), hardware("/dev/dri/renderD130")});
    EXPECT_EQ(device_of(first_gpu_), 1);
    EXPECT_EQ(device_of(software_), kCGLBadPixelFormat) << "there is none";
    expected_output_ =
        cannot_be_used("/dev/dri/renderD128", "eglInitialize failed with EGL_NOT_INITIALIZED");
}

TEST_F(RendererList, takes_the_memory_of_the_kernel_driver_or_an_extension_or_the_system) {
    const auto ofSystem = static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) *
                          static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    const auto system = static_cast<GLint>(std::min<std::uint64_t>(ofSystem, 0x7FFFFFFF));
    const struct {
        const char* ofKernel;
        ScriptedDevice device;
        GLint bytes;
    } rows[] = {{"12345", with_nvidia_memory(gpu128_, 1024), 12345},
                {"2147483646", gpu128_, 2147483646},
                {"2147483648", gpu128_, 2147483647},
                {"18446744073709551615", gpu128_, 2147483647},
                {"unknown", with_nvidia_memory(gpu128_, 1024), 1024 * 1024},
                {"unknown", with_nvidia_memory(gpu128_, 8 * 1024 * 1024), 2147483647},
                {"unknown", gpu128_, system}};
    for (const auto& row : rows) {
        machine_.write_attribute("pci0/a", "mem_info_vram_total", row.ofKernel + std::string("\n"));
        list({row.device, software()});
        EXPECT_EQ(memory(0), row.bytes) << row.ofKernel;
        EXPECT_EQ(memory(1), system);
    }
}

TEST_F(RendererList, checks_once_when_many_threads_ask_at_once) {
    list({gpu128_, refusing(gpu129_)});
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (std::size_t i = 0; i < 8; ++i) {
        threads.emplace_back([this, i] {
            id(i % 2);
            EXPECT_EQ(memory(i % 2) == kCGLBadRendererInfo, i % 2 == 1);
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(count_calls("initialize 0"), 1);
    EXPECT_EQ(count_calls("initialize 1"), 1);
    expected_output_ =
        cannot_be_used("/dev/dri/renderD129", "eglInitialize failed with EGL_NOT_INITIALIZED");
}

}  // namespace
}  // namespace texprobe::tests
