// Where the user's records are, and the lock file of the measuring turn.

#include <RecordStore/location.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <runs/turn_settings.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <utility>

#include "store/store_fixture.h"

namespace texprobe::tests {
namespace {

using platform::records_directory;

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

TEST(RecordsDirectory, of_a_user_without_a_password_entry_is_below_HOME) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    constexpr uid_t kUnknown = 3999999999;
    const std::pair<const char*, const char*> rows[] = {
        {"/somewhere", "/somewhere/.config/texprobe"}, {nullptr, ""}, {"", ""}, {"relative", ""}};
    for (const auto& [home, directory] : rows) {
        EXPECT_TRUE(in_child(
            [home = home, directory = directory] {
                clearenv();
                if (home) setenv("HOME", home, 1);
                return records_directory() == directory;
            },
            kUnknown))
            << (home ? home : "no HOME");
    }
}

/// Gives this process a password database of its own. False where it may not.
bool replace_password_database(const std::string& file) {
    return unshare(CLONE_NEWNS) == 0 &&
           mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount(file.c_str(), "/etc/passwd", nullptr, MS_BIND, nullptr) == 0;
}

TEST(RecordsDirectory, and_the_turn_are_below_the_same_home) {
    const ScratchFolder folder;
    const std::string file = folder.path() / "passwd";
    const auto check = [&](const std::string& home, const std::string& used) {
        std::ofstream(file) << "root:x:0:0:root:" << home << ":/bin/sh\n";
        return status_of(start([&] {
            constexpr int kSkip = 2;
            if (!replace_password_database(file)) return kSkip;
            setenv("HOME", folder.path().c_str(), 1);
            const bool isSame =
                records_directory() == used + "/.config/texprobe" &&
                texprobe::turn_settings().file == used + "/.config/texprobe/measuring.lock";
            return isSame ? 0 : 1;
        }));
    };
    const int status = check(folder.path() / "of_entry", folder.path() / "of_entry");
    if (status == 2 << 8) GTEST_SKIP() << "only root can mount";
    EXPECT_EQ(status, 0);
    EXPECT_EQ(check("relative", folder.path()), 0);
    EXPECT_EQ(check("", folder.path()), 0);
}

TEST(RecordsDirectory, made_for_the_turn_is_private_whatever_the_umask) {
    const ScratchFolder folder;
    const std::string file = folder.path() / "passwd";
    std::ofstream(file) << "root:x:0:0:root:" << folder.path().string() << ":/bin/sh\n";
    const int status = status_of(start([&] {
        if (!replace_password_database(file)) return 2;
        umask(0777);
        texprobe::turn_settings();
        return 0;
    }));
    if (status == 2 << 8) GTEST_SKIP() << "only root can mount";
    for (const char* made : {".config", ".config/texprobe"}) {
        struct stat found = {};
        ASSERT_EQ(stat((folder.path() / made).c_str(), &found), 0);
        EXPECT_EQ(found.st_mode & 07777, 0700u) << made;
    }
}

}  // namespace
}  // namespace texprobe::tests
