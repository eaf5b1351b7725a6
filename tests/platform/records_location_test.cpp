// Where the user's records are. Only looks, and writes nothing.

#include <RecordStore/location.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace {

using texprobe::platform::records_directory;

TEST(RecordsDirectory, is_below_the_home_of_the_password_entry_whatever_the_environment_says) {
    const passwd* entry = getpwuid(getuid());  // cppcheck-suppress getpwuidCalled
    if (!entry) GTEST_SKIP() << "the user who runs the tests has no password entry";
    const std::string expected = std::string(entry->pw_dir) + "/.config/texprobe";
    setenv("HOME", "/elsewhere", 1);
    setenv("XDG_CONFIG_HOME", "/elsewhere", 1);
    EXPECT_EQ(records_directory(), expected);
    clearenv();
    EXPECT_EQ(records_directory(), expected);
}

/// What records_directory() returns in a process of a user without a password entry.
std::string directory_of_unknown_user(const char* home) {
    int ends[2];
    if (pipe(ends) != 0) return "no pipe";
    const pid_t child = fork();
    if (child == 0) {
        constexpr uid_t kUnknown = 3999999999;
        if (setuid(kUnknown) != 0 || clearenv() != 0) _exit(1);
        if (home) setenv("HOME", home, 1);
        const std::string directory = records_directory();
        _exit(write(ends[1], directory.data(), directory.size()) < 0 ? 1 : 0);
    }
    close(ends[1]);
    int status = 0;
    waitpid(child, &status, 0);
    char buffer[256];
    const ssize_t size = read(ends[0], buffer, sizeof buffer);
    close(ends[0]);
    return status == 0 && size >= 0 ? std::string(buffer, static_cast<std::size_t>(size))
                                    : "failed";
}

TEST(RecordsDirectory, of_a_user_without_a_password_entry_is_below_HOME) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    EXPECT_EQ(directory_of_unknown_user("/somewhere"), "/somewhere/.config/texprobe");
    EXPECT_EQ(directory_of_unknown_user(nullptr), "");
    EXPECT_EQ(directory_of_unknown_user(""), "");
    EXPECT_EQ(directory_of_unknown_user("relative"), "");
}

}  // namespace
