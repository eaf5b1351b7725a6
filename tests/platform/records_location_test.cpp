// Where the user's records are. Only looks, and writes nothing.

#include <RecordStore/location.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "support/process.h"
#include "support/text.h"

namespace {

using texprobe::platform::records_directory;
using texprobe::tests::read_all;
using texprobe::tests::start;
using texprobe::tests::status_of;

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
    const pid_t child = start([&] {
        constexpr uid_t kUnknown = 3999999999;
        if (setuid(kUnknown) != 0 || clearenv() != 0) return 1;
        if (home) setenv("HOME", home, 1);
        const std::string directory = records_directory();
        return write(ends[1], directory.data(), directory.size()) < 0 ? 1 : 0;
    });
    close(ends[1]);
    const int status = status_of(child);
    const std::string directory = read_all(ends[0]);
    close(ends[0]);
    return status == 0 ? directory : "failed";
}

TEST(RecordsDirectory, of_a_user_without_a_password_entry_is_below_HOME) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    EXPECT_EQ(directory_of_unknown_user("/somewhere"), "/somewhere/.config/texprobe");
    EXPECT_EQ(directory_of_unknown_user(nullptr), "");
    EXPECT_EQ(directory_of_unknown_user(""), "");
    EXPECT_EQ(directory_of_unknown_user("relative"), "");
}

}  // namespace
