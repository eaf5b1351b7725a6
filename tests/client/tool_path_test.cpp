// Where an application finds the tool without a wish of its own.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "support/process.h"
#include "support/text.h"

namespace texprobe::tests {
namespace {

namespace fs = std::filesystem;

class ToolPath : public testing::Test {
protected:
    ToolPath() {
        std::string name = fs::temp_directory_path() / "texprobe-test-XXXXXX";
        if (mkdtemp(name.data())) folder_ = fs::canonical(name);
        fs::permissions(folder_, fs::perms(0755));
        for (const char* inside : {"bin", "lib", "elsewhere"})
            fs::create_directory(folder_ / inside);
        fs::copy_file("/bin/true", folder_ / "bin" / "texprobe");
        fs::copy_file(TOOL_FINDER, finder());
    }
    ~ToolPath() override {
        fs::current_path("/");
        fs::remove_all(folder_);
    }

    fs::path finder() const { return folder_ / "finder"; }
    std::vector<std::string> find() const {
        return lines_of(run({finder(), {}, {"PATH=" + (folder_ / "bin").string()}}).out);
    }

    fs::path folder_;
};

TEST_F(ToolPath, is_beside_a_library_that_was_loaded_by_a_relative_name) {
    fs::copy_file(TOOL_FINDER_LIBRARY, folder_ / "lib" / "finder.so");
    fs::current_path(folder_);
    void* library = dlopen("lib/finder.so", RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    fs::current_path(folder_ / "elsewhere");
    const auto installedTool =
        reinterpret_cast<const char* (*)()>(dlsym(library, "texprobe_installed_tool"));
    const std::string found = installedTool();
    dlclose(library);
    EXPECT_EQ(found, folder_ / "lib" / "../bin/texprobe");
}

TEST_F(ToolPath, is_the_first_in_path) {
    fs::copy_file("/bin/true", folder_ / "bin" / "texprobe-survey");
    EXPECT_THAT(find(), testing::ElementsAre((folder_ / "bin" / "texprobe").string(), testing::_,
                                             (folder_ / "bin" / "texprobe-survey").string()));
}

TEST_F(ToolPath, is_not_the_caller_s_in_a_set_user_id_program_that_has_become_root_for_real) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can make such a program";
    ASSERT_EQ(chmod(finder().c_str(), 04755), 0);
    const std::string out = folder_ / "out";
    const pid_t caller = start([&]() -> int {
        constexpr uid_t kNobody = 65534;
        const std::string path = "PATH=" + (folder_ / "bin").string();
        const char* const arguments[] = {finder().c_str(), "root", nullptr};
        const char* const environment[] = {path.c_str(), nullptr};
        if (!freopen(out.c_str(), "w", stdout) || setresgid(kNobody, kNobody, kNobody) != 0 ||
            setresuid(kNobody, kNobody, kNobody) != 0) {
            return 3;
        }
        execve(finder().c_str(), const_cast<char**>(arguments), const_cast<char**>(environment));
        return 4;
    });
    const int status = status_of(caller);
    if (status == 2 << 8) GTEST_SKIP() << "set-user-ID programs have no effect here";
    EXPECT_EQ(status, 0);
    EXPECT_THAT(lines_of(read_file(out)),
                testing::ElementsAre("",
                                     "texprobe was not found: not as /no/such/texprobe; a "
                                     "set-user-ID process does not look in PATH",
                                     ""));
}

}  // namespace
}  // namespace texprobe::tests
