// Where an application finds the tool without a wish of its own.

#include "runs/tool_path.h"

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
using testing::ElementsAre;

class ToolPath : public testing::Test {
protected:
    ToolPath() {
        std::string name = fs::temp_directory_path() / "texprobe-test-XXXXXX";
        if (mkdtemp(name.data())) folder_ = fs::canonical(name);
        fs::permissions(folder_, fs::perms(0755));
        for (const char* inside : {"bin", "lib", "elsewhere"})
            fs::create_directory(folder_ / inside);
        for (const char* program : {"texprobe", "texprobe-survey"}) {
            fs::copy_file("/bin/true", folder_ / "bin" / program);
        }
    }
    ~ToolPath() override {
        fs::current_path("/");
        fs::remove_all(folder_);
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

/// What a process finds whose rights are changed so: the tool and the survey, and what it would say
/// of a tool that is not there. PATH begins with a folder of a relative name, and with none.
std::vector<std::string> found_with(const fs::path& folder, bool (*change)()) {
    const fs::path out = folder / "out";
    const pid_t process = start([&] {
        fs::current_path(folder);
        setenv("PATH", ("bin::" + (folder / "bin").string()).c_str(), 1);
        std::FILE* stream = std::fopen(out.c_str(), "w");
        if (!change()) return 1;
        std::fprintf(stream, "%s\n%s\n%s\n", find_tool(nullptr).c_str(),
                     find_survey(nullptr).c_str(), describe_search().c_str());
        return std::fclose(stream);
    });
    EXPECT_EQ(status_of(process), 0);
    return lines_of(read_file(out));
}

constexpr char kRefusal[] =
    "texprobe was not found: not as /no/such/texprobe; a set-user-ID process does not look in PATH";

TEST_F(ToolPath, is_the_first_in_path) {
    EXPECT_THAT(found_with(folder_, [] { return true; }),
                ElementsAre((folder_ / "bin" / "texprobe").string(),
                            (folder_ / "bin" / "texprobe-survey").string(),
                            "texprobe was not found: not as /no/such/texprobe, and not in PATH"));
}

TEST_F(ToolPath, is_not_the_caller_s_in_a_process_that_has_taken_another_s_rights) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become such a process";
    constexpr uid_t kAnother = 54321;
    EXPECT_THAT(found_with(folder_, [] { return setresgid(kAnother, 0, 0) == 0; }),
                ElementsAre("", "", kRefusal));
    EXPECT_THAT(found_with(folder_, [] { return setresuid(0, kAnother, 0) == 0; }),
                ElementsAre("", "", kRefusal));
}

TEST_F(ToolPath, is_not_the_caller_s_in_a_set_user_id_program_that_has_become_root_for_real) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can make such a program";
    const fs::path finder = folder_ / "finder";
    fs::copy_file(TOOL_FINDER, finder);
    ASSERT_EQ(chmod(finder.c_str(), 04755), 0);
    const std::string out = folder_ / "out";
    const pid_t caller = start([&]() -> int {
        constexpr uid_t kNobody = 65534;
        const std::string path = "PATH=" + (folder_ / "bin").string();
        const char* const environment[] = {path.c_str(), nullptr};
        if (!freopen(out.c_str(), "w", stdout) || setresgid(kNobody, kNobody, kNobody) != 0 ||
            setresuid(kNobody, kNobody, kNobody) != 0) {
            return 3;
        }
        execle(finder.c_str(), finder.c_str(), nullptr, environment);
        return 4;
    });
    const int status = status_of(caller);
    if (status == 2 << 8) GTEST_SKIP() << "set-user-ID programs have no effect here";
    EXPECT_EQ(status, 0);
    EXPECT_THAT(lines_of(read_file(out)), ElementsAre("", "", kRefusal));
}

}  // namespace
}  // namespace texprobe::tests
