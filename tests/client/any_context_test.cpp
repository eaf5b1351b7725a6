// TexProbeVerdicts in applications whose contexts are of every kind, with the real tool.

#include <EGL/egl.h>
#include <OpenGL/gl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <ostream>
#include <set>
#include <vector>

#include "TexProbeVerdicts.h"
#include "application_context.h"
#include "drawing.h"
#include "egl_calls.h"
#include "records_of_test.h"
#include "support/answers.h"
#include "support/tool_folder.h"
#include "x_server.h"

namespace texprobe::tests {
namespace {

/// All that the context tells of itself: the integers of every name that it knows.
std::map<GLenum, std::vector<GLint>> context_values() {
    // Clocks, and how much memory is free. What is asked for ends before the names by which a
    // driver that has no such device crashes.
    const std::set<GLenum> changing = {0x8E28, 0x9047, 0x9048, 0x9049, 0x904A,
                                       0x904B, 0x87FB, 0x87FC, 0x87FD};
    std::map<GLenum, std::vector<GLint>> values;
    constexpr GLint kUnwritten = 0x5a5a5a5a;
    std::vector<GLint> read(4096);
    for (GLenum name = 0x0B00; name < 0x9590; ++name) {
        if (name == 0x0E00) name = 0x1F00;
        if (name == 0x2000) name = 0x8000;
        if (changing.count(name) == 1) continue;
        std::fill(read.begin(), read.end(), kUnwritten);
        glGetIntegerv(name, read.data());
        if (glGetError() == GL_NO_ERROR) values[name] = read;
    }
    return values;
}

class VerdictsFixture : public testing::Test {
protected:
    VerdictsFixture() {
        unsetenv("DISPLAY");
        unsetenv("WAYLAND_DISPLAY");
    }

    texprobe_verdicts* open(const std::string& tool) const {
        const texprobe_options options = {sizeof options, tool.c_str(), 0, nullptr, nullptr, 0,
                                          nullptr};
        return texprobe_verdicts_open(&options);
    }

    /// What is recorded of the current context's renderer.
    std::string recorded_answers(const std::string& renderer) const {
        for (const auto& [application, records] : folder_.records()) {
            const auto found = records.find("GL_RENDERER");
            if (found == records.end() || found->second != "string " + renderer) continue;
            return answers_of(records);
        }
        return "no records of " + renderer;
    }

    const ToolFolder& folder_ = empty_folder(TOOL);
};

class AnyContext : public VerdictsFixture, public testing::WithParamInterface<ContextKind> {
protected:
    void SetUp() override {
        if (GetParam().window) {
            if (!has_glfw()) GTEST_SKIP() << "built without GLFW";
            server_ = std::make_unique<XServer>();
            if (!server_->runs()) GTEST_SKIP() << "Xvfb does not run here";
        }
        context_ = GetParam().open();
    }

    std::unique_ptr<XServer> server_;
    std::unique_ptr<ApplicationContext> context_;
};

/// What others are answered is tried in asking_context_test.cpp.
class CompatibilityContext : public AnyContext {};

TEST_P(CompatibilityContext, gets_the_verdicts_on_its_renderer) {
    texprobe_verdicts* first = open(folder_.tool());
    EXPECT_EQ(texprobe_verdicts_wait(first, -1), TEXPROBE_READY) << texprobe_verdicts_reason(first);
    const std::string expected = recorded_answers(gl_text(GL_RENDERER));
    EXPECT_EQ(answers_of(first), expected);
    EXPECT_THAT(expected, testing::HasSubstr("yyyyyy"));
    texprobe_verdicts_close(first);

    texprobe_verdicts* second = open("/no/such/tool");
    EXPECT_EQ(texprobe_verdicts_wait(second, 0), TEXPROBE_READY);
    EXPECT_EQ(answers_of(second), expected);
    texprobe_verdicts_close(second);
}

TEST_P(AnyContext, is_as_it_was_before_during_and_after) {
    // Only what the library does is of interest here.
    folder_.write_program("texprobe-survey", "sleep 1");
    while (glGetError() != GL_NO_ERROR) {
    }
    const auto values = context_values();
    EXPECT_GT(values.size(), 200u);
    RecordProperty("values", static_cast<int>(values.size()));
    const auto handles = current_handles();
    const int calls = disturbing_egl_calls();
    glEnable(0xdead);

    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    texprobe_verdicts* verdicts = open(folder_.tool());
    const GLenum error = glGetError();
    const auto during = context_values();
    const texprobe_state state = texprobe_verdicts_wait(verdicts, -1);
    const auto after = context_values();
    texprobe_verdicts_close(verdicts);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");

    EXPECT_EQ(state, GetParam().isOfTool ? TEXPROBE_READY : TEXPROBE_FAILED);
    EXPECT_EQ(error, static_cast<GLenum>(GL_INVALID_ENUM));
    EXPECT_TRUE(during == values);
    EXPECT_TRUE(after == values);
    EXPECT_TRUE(context_values() == values);
    EXPECT_EQ(current_handles(), handles);
    EXPECT_EQ(disturbing_egl_calls(), calls);
}

const ContextKind kCompatibilityKinds[] = {{"glx_window", open_glx_window, true, true},
                                           {"egl_window", open_egl_window, true, true},
                                           {"compatibility", open_surfaceless, false, true}};
const ContextKind kOtherKinds[] = {{"core_33", open_surfaceless_core, false, false},
                                   {"core_45", open_surfaceless_core_45, false, false},
                                   {"es_3", open_surfaceless_es, false, false}};

std::string name_of_kind(const testing::TestParamInfo<ContextKind>& kind) {
    return kind.param.name;
}

INSTANTIATE_TEST_SUITE_P(On, CompatibilityContext, testing::ValuesIn(kCompatibilityKinds),
                         name_of_kind);
INSTANTIATE_TEST_SUITE_P(On, AnyContext, testing::ValuesIn(kCompatibilityKinds), name_of_kind);
INSTANTIATE_TEST_SUITE_P(OnAnother, AnyContext, testing::ValuesIn(kOtherKinds), name_of_kind);

class BesideARun : public VerdictsFixture {};

TEST_F(BesideARun, get_no_verdict_that_a_test_under_way_may_still_change) {
    const auto context = open_surfaceless();
    ASSERT_TRUE(folder_.run().exited_with(0));
    const std::string expected = recorded_answers(gl_text(GL_RENDERER));
    for (const char* change : {"UPDATE records SET value = 0.2 WHERE key = 'VERSION'",
                               "DELETE FROM records WHERE key LIKE 'GL_RGB%'"}) {
        folder_.execute(change);
        const pid_t run = start({folder_.tool()});
        int opened = 0;
        for (; !has_ended(run); ++opened) {
            texprobe_verdicts* verdicts = open("/no/such/tool");
            const bool isReady = texprobe_verdicts_wait(verdicts, -1) == TEXPROBE_READY;
            EXPECT_EQ(isReady ? answers_of(verdicts) : expected, expected) << change;
            texprobe_verdicts_close(verdicts);
        }
        EXPECT_TRUE(finish(run).exited_with(0));
        EXPECT_GT(opened, 10);
        EXPECT_EQ(recorded_answers(gl_text(GL_RENDERER)), expected);
    }
}

}  // namespace
}  // namespace texprobe::tests
