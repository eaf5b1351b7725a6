// Applications of several toolkits, on several renderers: in a compatibility context they get the
// verdicts that the tool has recorded, in others what such a context can do.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "client/display_servers.h"
#include "gl/mesa_renderer.h"
#include "support/answers.h"
#include "support/tool_folder.h"

namespace texprobe::tests {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr int kNoSuchContext = 77;

enum class Server { kNone, kX, kWayland };

struct Toolkit {
    const char* name;
    const char* application;  // Empty: built without that toolkit.
    const char* api;
    Server server;
    Environment environment;
};

void PrintTo(const Toolkit& toolkit, std::ostream* stream) {
    *stream << toolkit.name;
}

std::vector<Toolkit> toolkits() {
    const std::string qt = "QT_QPA_PLATFORM=xcb";
    const std::string sdl = "SDL_VIDEODRIVER=x11";
    return {{"glfw_glx", GLFW_APPLICATION, "glx", Server::kX, {}},
            {"glfw_egl", GLFW_APPLICATION, "egl", Server::kX, {}},
            {"sdl_glx", SDL_APPLICATION, "glx", Server::kX, {sdl}},
            {"sdl_egl", SDL_APPLICATION, "egl", Server::kX, {sdl, "SDL_VIDEO_X11_FORCE_EGL=1"}},
            {"qt_glx", QT_APPLICATION, "glx", Server::kX, {qt, "QT_XCB_GL_INTEGRATION=xcb_glx"}},
            {"qt_egl", QT_APPLICATION, "egl", Server::kX, {qt, "QT_XCB_GL_INTEGRATION=xcb_egl"}},
            {"wayland", WAYLAND_APPLICATION, "egl", Server::kWayland, {}},
            {"surfaceless", SURFACELESS_APPLICATION, "egl", Server::kNone, {}}};
}

std::vector<MesaRenderer> measured_renderers() {
    std::vector<MesaRenderer> renderers = mesa_renderers();
    renderers.erase(
        std::remove_if(renderers.begin(), renderers.end(),
                       [](const MesaRenderer& renderer) { return renderer.name == "virgl"; }),
        renderers.end());
    return renderers;
}

/// The lines "name: text" of an application.
std::map<std::string, std::string> answers_in(const std::string& output) {
    std::map<std::string, std::string> answers;
    for (const std::string& line : lines_of(output)) {
        const std::size_t colon = line.find(": ");
        if (colon != std::string::npos) answers[line.substr(0, colon)] = line.substr(colon + 2);
    }
    return answers;
}

/// Of a user whose records are in a folder of the test.
class AnyToolkit : public testing::TestWithParam<std::tuple<MesaRenderer, Toolkit, const char*>> {
protected:
    AnyToolkit() {
        std::filesystem::create_directories(folder_.path() / ".config/texprobe");
        std::filesystem::create_directory_symlink(".config/texprobe", folder_.path() / "records");
        std::filesystem::copy_file(SURVEY, folder_.path() / "texprobe-survey");
    }

    const MesaRenderer& renderer() const { return std::get<0>(GetParam()); }
    const Toolkit& toolkit() const { return std::get<1>(GetParam()); }
    std::string context() const { return std::get<2>(GetParam()); }

    // A survey takes long: what one application has surveyed serves the others.

    std::filesystem::path kept_survey() const {
        const char* const kind = context() == "es_3" ? "_es" : "_core";
        return std::filesystem::path(SURVEYS) / (renderer().name + kind + ".sqlite3");
    }
    void use_kept_survey() const {
        std::error_code ignored;
        std::filesystem::copy_file(kept_survey(), folder_.database(), ignored);
    }
    void keep_survey() const {
        const std::filesystem::path file = kept_survey();
        if (std::filesystem::exists(file)) return;
        std::filesystem::create_directories(file.parent_path());
        // A survey that was interrupted leaves its log.
        folder_.execute("PRAGMA wal_checkpoint(TRUNCATE)");
        const std::string whole = file.string() + folder_.path().filename().string();
        std::filesystem::copy_file(folder_.database(), whole);
        std::filesystem::rename(whole, file);
    }

    /// Why this cannot be tried here; empty if it can.
    std::string start_servers() {
        std::string missing = prepare(renderer());
        if (!missing.empty()) return missing;
        if (*toolkit().application == '\0') return "built without this toolkit";
        if (toolkit().server == Server::kX && !x_.emplace().runs()) {
            return "Xvfb does not run here";
        }
        if (toolkit().server == Server::kWayland && !wayland_.emplace(folder_.path()).runs()) {
            return "weston does not run here";
        }
        return {};
    }

    Finished run_application() const {
        const std::string home = folder_.path();
        // Shaders compiled in one test serve the others.
        const std::string shaders = SHADERS;
        const std::string preloaded = OTHER_HOME_LIBRARY;
        Environment variables = {"MESA_SHADER_CACHE_DIR=" + shaders, "LD_PRELOAD=" + preloaded,
                                 "OTHER_HOME=" + home, "HOME=" + home,
                                 "PATH=" + home + ":/usr/bin:/bin"};
        // The first one of a name counts.
        const Environment display = x_         ? x_->environment()
                                    : wayland_ ? wayland_->environment()
                                               : Environment();
        for (const Environment& more : {display, toolkit().environment, renderer().environment}) {
            variables.insert(variables.end(), more.begin(), more.end());
        }
        return run({toolkit().application, {context(), toolkit().api, folder_.tool()}, variables});
    }

    void expect_version(const std::string& version) const {
        if (context() == "es_3") {
            EXPECT_THAT(version, StartsWith("OpenGL ES 3."));
        } else {
            EXPECT_THAT(version, HasSubstr(context() == "compatibility" ? "(Compatibility Profile)"
                                                                        : "(Core Profile)"));
        }
    }

    ToolFolder folder_{TOOL};
    std::optional<XServer> x_;
    std::optional<WaylandServer> wayland_;
};

TEST_P(AnyToolkit, gets_verdicts_on_its_context_that_hold_there) {
    const std::string missing = start_servers();
    if (!missing.empty()) GTEST_SKIP() << missing;
    if (context() != "compatibility") use_kept_survey();
    const Finished finished = run_application();
    if (finished.exited_with(kNoSuchContext)) GTEST_SKIP() << finished.err;
    ASSERT_TRUE(finished.exited_with(0)) << finished.status << finished.err;
    if (context() != "compatibility") keep_survey();
    EXPECT_THAT(finished.err, testing::Not(HasSubstr("texprobe")));

    auto answers = answers_in(finished.out);
    EXPECT_THAT(answers["renderer"], StartsWith(renderer().name));
    expect_version(answers["version"]);
    EXPECT_EQ(answers["reason"], "");
    const std::string& verdicts = answers["verdicts"];
    EXPECT_THAT(verdicts, HasSubstr("yy"));
    std::string tried;
    for (std::size_t i = 0; i < verdicts.size(); i += 6) tried += verdicts.substr(i, 2);
    EXPECT_EQ(tried, answers["tried"]);
    if (context() == "compatibility") {
        const std::string expected = recorded_answers(folder_.records(), answers["renderer"]);
        EXPECT_EQ(verdicts, expected);
        // The class knows no unknown.
        std::string known = expected;
        std::replace(known.begin(), known.end(), '?', 'n');
        EXPECT_EQ(answers["class"], known);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Of, AnyToolkit,
    testing::Combine(testing::ValuesIn(measured_renderers()), testing::ValuesIn(toolkits()),
                     testing::Values("core_33", "core_45", "compatibility", "es_3")),
    [](const auto& param) {
        return std::get<0>(param.param).name + "_" + std::get<1>(param.param).name + "_" +
               std::get<2>(param.param);
    });

}  // namespace
}  // namespace texprobe::tests
