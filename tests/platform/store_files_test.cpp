// Whose the store's files are, who may read them, and where they may lie.

#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <fstream>

#include "platform/store_fixture.h"

namespace {

namespace fs = std::filesystem;
using texprobe::platform::DirectoryLock;
using texprobe::platform::foreign_link;
using texprobe::platform::is_network_file_system;
using texprobe::platform::is_on_network;
using texprobe::platform::same;
using texprobe::tests::errors_of;
using texprobe::tests::in_child;
using texprobe::tests::kAnotherUser;
using texprobe::tests::Preferences;

class StoreFiles : public texprobe::tests::StoreFixture {
protected:
    /// The one line that a synchronization which cannot use the store writes, twice asked.
    std::string failure() const {
        return errors_of([this] {
            Preferences preferences(directory());
            preferences.change(kApp, {{"key", true}});
            EXPECT_FALSE(preferences.synchronize(kApp));
            EXPECT_FALSE(preferences.synchronize(kApp));
            EXPECT_TRUE(same(*preferences.value(kApp, "key"), true));
        });
    }

    std::string line(const fs::path& path, const std::string& reason) const {
        return "*** texprobe records: cannot use " + path.string() + ": " + reason + "\n";
    }

    bool is_root() const { return geteuid() == 0; }
};

TEST_F(StoreFiles, are_private_whatever_the_umask) {
    for (const mode_t mask : {0000u, 0022u, 0777u}) {
        const mode_t before = umask(mask);
        Preferences preferences(directory());
        preferences.change(kApp, {{"key", true}});
        EXPECT_TRUE(preferences.synchronize(kApp));
        umask(before);
        EXPECT_EQ(mode_of(config()), 0700u) << mask;
        EXPECT_EQ(mode_of(directory()), 0700u) << mask;
        EXPECT_EQ(mode_of(database()), 0600u) << mask;
        EXPECT_EQ(mode_of(database().string() + "-wal"), 0600u) << mask;
        EXPECT_EQ(mode_of(database().string() + "-shm"), 0600u) << mask;
        preferences.close();
        fs::remove_all(config());
    }
}

TEST_F(StoreFiles, that_were_open_to_others_are_made_private) {
    {
        Preferences preferences(directory());
        preferences.change(kApp, {{"key", true}});
        ASSERT_TRUE(preferences.synchronize(kApp));
        ASSERT_TRUE(in_child([this] {
            const std::string log = database().string() + "-wal";
            return chmod(directory().c_str(), 0777) == 0 && chmod(database().c_str(), 0666) == 0 &&
                   chmod(log.c_str(), 0644) == 0;
        }));
        Preferences other(directory());
        EXPECT_TRUE(other.value(kApp, "key").has_value());
        EXPECT_EQ(mode_of(database().string() + "-wal"), 0600u);
    }
    EXPECT_EQ(mode_of(directory()), 0700u);
    EXPECT_EQ(mode_of(database()), 0600u);
}

TEST_F(StoreFiles, leave_the_modes_of_the_folders_above_alone) {
    fs::create_directory(config());
    ASSERT_EQ(chmod(config().c_str(), 0755), 0);
    write("key", true);
    EXPECT_EQ(mode_of(config()), 0755u);
}

TEST_F(StoreFiles, of_another_user_are_refused) {
    if (!is_root()) GTEST_SKIP() << "only root can give files away";
    write("key", true);
    ASSERT_EQ(chown(database().c_str(), kAnotherUser, kAnotherUser), 0);
    EXPECT_EQ(failure(), line(database(), "it belongs to another user"));
    ASSERT_EQ(chown(directory().c_str(), kAnotherUser, kAnotherUser), 0);
    EXPECT_EQ(failure(), line(directory(), "it belongs to another user"));
    ASSERT_EQ(chown(database().c_str(), 0, 0), 0);
    EXPECT_EQ(rows("SELECT count(*) FROM records"), "1\n");
}

TEST_F(StoreFiles, of_root_are_refused_to_an_ordinary_user) {
    if (!is_root()) GTEST_SKIP() << "only root can become another user";
    write("key", true);
    for (const fs::path& path : {home(), config(), directory()}) {
        ASSERT_EQ(chmod(path.c_str(), 0777), 0);
    }
    const std::string said = errors_of([this] {
        EXPECT_TRUE(in_child([this] { return !read("key").has_value(); }, kAnotherUser));
    });
    EXPECT_EQ(said, line(directory(), "it belongs to another user"));
}

TEST_F(StoreFiles, behind_a_link_that_another_user_made_are_refused) {
    if (!is_root()) GTEST_SKIP() << "only root can give links away";
    const fs::path real = home() / "real";
    fs::create_directory(real);
    fs::create_symlink("real", config());
    ASSERT_EQ(lchown(config().c_str(), kAnotherUser, kAnotherUser), 0);
    EXPECT_EQ(failure(), line(config(), "it is a link that another user made"));
    EXPECT_TRUE(fs::is_empty(real));
}

TEST_F(StoreFiles, behind_a_chain_with_a_link_that_another_user_made_are_refused) {
    if (!is_root()) GTEST_SKIP() << "only root can give links away";
    fs::create_directories(home() / "real/deeper");
    fs::create_symlink(home() / "theirs/../link/deeper", config());
    fs::create_symlink("real", home() / "link");
    fs::create_symlink("real", home() / "theirs");
    EXPECT_FALSE(foreign_link(directory()).has_value());
    ASSERT_EQ(lchown((home() / "theirs").c_str(), kAnotherUser, kAnotherUser), 0);
    EXPECT_EQ(foreign_link(directory()).value_or("none"), home() / "theirs");
}

TEST_F(StoreFiles, whose_database_is_a_link_that_another_user_made_are_refused) {
    if (!is_root()) GTEST_SKIP() << "only root can give links away";
    write("key", true);
    fs::rename(database(), home() / "elsewhere");
    fs::create_symlink(home() / "elsewhere", database());
    EXPECT_TRUE(same(*read("key"), true));
    ASSERT_EQ(lchown(database().c_str(), kAnotherUser, kAnotherUser), 0);
    EXPECT_EQ(failure(), line(database(), "it is a link that another user made"));
}

TEST_F(StoreFiles, behind_ones_own_links_are_used) {
    fs::create_directory(home() / "dotfiles");
    fs::create_symlink("dotfiles", config());
    write("key", true);
    EXPECT_TRUE(same(*read("key"), true));
    EXPECT_TRUE(fs::exists(home() / "dotfiles/texprobe/records.sqlite3"));
}

TEST_F(StoreFiles, behind_links_that_lead_in_a_circle_are_not_found) {
    fs::create_symlink("other", config());
    fs::create_symlink(".config", home() / "other");
    EXPECT_EQ(failure(), line(directory(), "Too many levels of symbolic links"));
}

TEST_F(StoreFiles, need_a_home_that_exists) {
    const fs::path missing = home() / "nobody";
    const std::string said = errors_of([&missing] {
        Preferences preferences(missing / ".config/texprobe");
        preferences.change(kApp, {{"key", true}});
        EXPECT_FALSE(preferences.synchronize(kApp));
        EXPECT_FALSE(preferences.synchronize(kApp));
    });
    EXPECT_EQ(said, line(missing / ".config", "No such file or directory"));
    EXPECT_FALSE(fs::exists(missing));
}

TEST_F(StoreFiles, need_a_home) {
    const std::string said = errors_of([] {
        Preferences preferences("");
        EXPECT_FALSE(preferences.value(kApp, "key").has_value());
        preferences.change(kApp, {{"key", true}});
        EXPECT_FALSE(preferences.synchronize(kApp));
        EXPECT_TRUE(preferences.value(kApp, "key").has_value());
    });
    EXPECT_EQ(said, "*** texprobe records: the user has no home directory\n");
}

TEST_F(StoreFiles, need_a_folder_where_a_file_is) {
    std::ofstream(config()).flush();
    EXPECT_EQ(failure(), line(directory(), "Not a directory"));
    fs::remove(config());
    fs::create_directory(config());
    std::ofstream(directory()).flush();
    EXPECT_EQ(failure(), line(directory(), "Not a directory"));
}

TEST_F(StoreFiles, need_more_than_a_link_to_nothing) {
    fs::create_symlink("nothing", config());
    EXPECT_EQ(failure(), line(config(), "it is a link to nothing"));
    fs::remove(config());
    fs::create_directories(directory());
    fs::create_symlink("nothing", database());
    EXPECT_EQ(failure(), line(database(), "it is a link to nothing"));
}

TEST_F(StoreFiles, need_a_file_where_something_else_is) {
    fs::create_directories(database());
    EXPECT_EQ(failure(), line(database(), "it is not a regular file"));
    fs::remove(database());
    ASSERT_EQ(mkfifo(database().c_str(), 0600), 0);
    EXPECT_EQ(failure(), line(database(), "it is not a regular file"));
    fs::remove(database());
    write("key", true);
    const std::string log = database().string() + "-wal";
    ASSERT_EQ(mkfifo(log.c_str(), 0600), 0);
    EXPECT_EQ(failure(), line(log, "it is not a regular file"));
}

TEST_F(StoreFiles, are_reported_in_one_line_whatever_their_names) {
    const fs::path odd = home() / "two\nlines";
    const std::string said = errors_of([&odd] {
        Preferences preferences(odd / ".config/texprobe");
        preferences.change(kApp, {{"key", true}});
        EXPECT_FALSE(preferences.synchronize(kApp));
    });
    EXPECT_EQ(said, line(home() / "two?lines/.config", "No such file or directory"));
}

TEST_F(StoreFiles, are_locked_alone_or_together) {
    using Mode = DirectoryLock::Mode;
    using std::chrono::milliseconds;
    const DirectoryLock first(home(), Mode::kShared, milliseconds(0));
    EXPECT_EQ(first.error(), 0);
    EXPECT_EQ(DirectoryLock(home(), Mode::kShared, milliseconds(0)).error(), 0);
    EXPECT_EQ(DirectoryLock(home(), Mode::kAlone, milliseconds(20)).error(), EWOULDBLOCK);
    EXPECT_EQ(DirectoryLock(home() / "none", Mode::kShared, milliseconds(0)).error(), ENOENT);
}

TEST(FileSystems, that_machines_share_are_known) {
    for (const unsigned long type : {0x6969ul, 0xFF534D42ul, 0xFE534D42ul, 0x517Bul, 0x65735546ul,
                                     0x01021997ul, 0x00C36400ul, 0x5346414Ful}) {
        EXPECT_TRUE(is_network_file_system(type)) << std::hex << type;
    }
    // ext4, XFS, Btrfs, tmpfs, overlayfs, ZFS, F2FS, bcachefs
    for (const unsigned long type : {0xEF53ul, 0x58465342ul, 0x9123683Eul, 0x01021994ul,
                                     0x794C7630ul, 0x2FC12FC1ul, 0xF2F52010ul, 0xCA451A4Eul}) {
        EXPECT_FALSE(is_network_file_system(type)) << std::hex << type;
    }
    EXPECT_FALSE(is_on_network("/proc"));
    EXPECT_FALSE(is_on_network("/does/not/exist"));
}

}  // namespace
