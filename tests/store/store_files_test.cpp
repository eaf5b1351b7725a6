// The store's files: their owner, their permissions, and where they may be.

#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <fstream>
#include <functional>
#include <utility>
#include <vector>

#include "store/store_fixture.h"

namespace texprobe::tests {
namespace {

namespace fs = std::filesystem;
using platform::is_local_file_system;
using platform::is_on_local_disk;

class StoreFiles : public StoreFixture {
protected:
    /// A process that twice fails to synchronize prints one line, and goes on with its own view.
    static void expect_failure(const fs::path& directory, const std::string& line) {
        RecordStore store(directory);
        EXPECT_EQ(errors_of([&store] {
                      EXPECT_FALSE(put(store, {{"key", true}}));
                      EXPECT_FALSE(store.synchronize(kApp));
                      EXPECT_TRUE(same(*store.value(kApp, "key"), true));
                  }),
                  line);
        errors_of([&store] { store.close(); });
    }

    bool is_root() const { return geteuid() == 0; }
};

TEST_F(StoreFiles, are_private_whatever_the_umask) {
    for (const mode_t mask : {0000u, 0022u, 0777u}) {
        const mode_t before = umask(mask);
        RecordStore store(directory());
        EXPECT_TRUE(put(store, {{"key", true}}));
        umask(before);
        EXPECT_EQ(mode_of(config()), 0700u) << mask;
        EXPECT_EQ(mode_of(directory()), 0700u) << mask;
        EXPECT_EQ(mode_of(database()), 0600u) << mask;
        EXPECT_EQ(mode_of(database().string() + "-wal"), 0600u) << mask;
        EXPECT_EQ(mode_of(database().string() + "-shm"), 0600u) << mask;
        store.close();
        fs::remove_all(config());
    }
}

TEST_F(StoreFiles, that_were_open_to_others_are_made_private_by_who_writes) {
    {
        RecordStore store(directory());
        ASSERT_TRUE(put(store, {{"key", true}}));
        ASSERT_TRUE(in_child([this] {
            const std::string log = database().string() + "-wal";
            return chmod(directory().c_str(), 0777) == 0 && chmod(database().c_str(), 0666) == 0 &&
                   chmod(log.c_str(), 0644) == 0;
        }));
        RecordStore other(directory());
        EXPECT_TRUE(other.value(kApp, "key").has_value());
        EXPECT_EQ(mode_of(directory()), 0777u);
        EXPECT_TRUE(put(other, {{"key", false}}));
        EXPECT_EQ(mode_of(database().string() + "-wal"), 0600u);
    }
    EXPECT_EQ(mode_of(directory()), 0700u);
    EXPECT_EQ(mode_of(database()), 0600u);
}

TEST_F(StoreFiles, of_another_user_are_refused) {
    if (!is_root()) GTEST_SKIP() << "only root can give files away";
    const std::string reason = "it belongs to another user";
    write("key", true);
    ASSERT_EQ(chown(database().c_str(), kAnotherUser, kAnotherUser), 0);
    expect_failure(directory(), cannot_use(database(), reason));
    ASSERT_EQ(chown(directory().c_str(), kAnotherUser, kAnotherUser), 0);
    expect_failure(directory(), cannot_use(directory(), reason));
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
    EXPECT_EQ(said, cannot_use(directory(), "it belongs to another user"));
}

TEST_F(StoreFiles, that_are_not_a_store_keep_their_modes) {
    const fs::path letter = home() / "letter.txt";
    std::ofstream(letter) << "Dear reader, this is a text and no database.";
    ASSERT_EQ(chmod(letter.c_str(), 0644), 0);
    fs::create_directories(directory());
    ASSERT_EQ(chmod(directory().c_str(), 0755), 0);
    fs::create_symlink(letter, database());
    EXPECT_EQ(errors_of([this] { EXPECT_FALSE(read("key").has_value()); }),
              cannot_use(database(), "file is not a database"));
    EXPECT_EQ(mode_of(letter), 0644u);
    EXPECT_EQ(mode_of(directory()), 0755u);
    // A writer creates a store in place of the link and leaves its target alone.
    errors_of([this] { write("key", true); });
    EXPECT_EQ(read_file(letter), "Dear reader, this is a text and no database.");
    EXPECT_EQ(mode_of(letter), 0644u);
    EXPECT_TRUE(fs::is_symlink(aside()));
    EXPECT_TRUE(same(*read("key"), true));
}

TEST_F(StoreFiles, behind_ones_own_links_are_used_and_folders_above_keep_their_modes) {
    fs::create_directory(home() / "dotfiles");
    ASSERT_EQ(chmod((home() / "dotfiles").c_str(), 0755), 0);
    fs::create_symlink("dotfiles", config());
    write("key", true);
    EXPECT_EQ(mode_of(config()), 0755u);
    EXPECT_TRUE(same(*read("key"), true));
    EXPECT_TRUE(fs::exists(home() / "dotfiles/texprobe/records.sqlite3"));
}

TEST_F(StoreFiles, need_a_home_and_a_folder_and_a_file_in_their_place) {
    const auto link = [](const char* target, const fs::path& place) {
        fs::create_symlink(target, place);
    };
    const struct {
        std::function<void()> prepare;
        fs::path path;
        const char* reason;
    } rows[] = {
        {[&] { link(".config", config()); }, directory(), "Too many levels of symbolic links"},
        {[&] { link("nothing", config()); }, directory(), "No such file or directory"},
        {[&] { write_file(config(), ""); }, directory(), "Not a directory"},
        {[&] { fs::create_directory(config()), write_file(directory(), ""); }, directory(),
         "it is not a directory"},
        {[&] { fs::create_directories(directory()), link("nothing", database()); }, database(),
         "No such file or directory"},
        {[&] { fs::create_directories(database()); }, database(), "it is not a regular file"},
        {[&] { fs::create_directories(directory()), mkfifo(database().c_str(), 0600); }, database(),
         "it is not a regular file"}};
    for (const auto& row : rows) {
        row.prepare();
        expect_failure(directory(), cannot_use(row.path, row.reason));
        fs::remove_all(config());
    }
    // In one line, whatever its name.
    expect_failure(home() / "two\nlines/.config/texprobe",
                   cannot_use(home() / "two?lines/.config", "No such file or directory"));
    EXPECT_TRUE(fs::is_empty(home()));
    expect_failure("", "*** texprobe records: the user has no home directory\n");
}

TEST_F(StoreFiles, of_a_user_without_a_home_are_nowhere_and_the_messages_say_why) {
    if (!is_root()) GTEST_SKIP() << "only root can become another user";
    constexpr uid_t kUnknown = 3999999999;
    const auto said = [](const char* home) {
        return errors_of([&] {
            EXPECT_TRUE(in_child(
                [&] {
                    clearenv();
                    if (home) setenv("HOME", home, 1);
                    RecordStore store("");
                    store.change(kApp, {{"a", true}, {"b", false}});
                    return !store.synchronize(kApp);
                },
                kUnknown));
        });
    };
    const std::string beginning =
        "*** texprobe records: the user has no home directory: there is no entry in the password "
        "database, and HOME is ";
    const std::string end =
        "*** texprobe records: 2 records are missing: a, b; give the user a home directory and run "
        "texprobe again\n";
    EXPECT_EQ(said(nullptr), beginning + "not set\n" + end);
    EXPECT_EQ(said("relative"), beginning + "no absolute path\n" + end);
}

TEST(FileSystems, that_machines_may_share_are_not_local) {
    const std::pair<bool, std::vector<unsigned long>> rows[] = {
        // NFS, CIFS, SMB 2, SMB, FUSE, 9P, Ceph, AFS
        {false,
         {0x6969, 0xFF534D42, 0xFE534D42, 0x517B, 0x65735546, 0x01021997, 0x00C36400, 0x5346414F}},
        // ext4, XFS, Btrfs, tmpfs, overlayfs, ZFS, F2FS, bcachefs
        {true,
         {0xEF53, 0x58465342, 0x9123683E, 0x01021994, 0x794C7630, 0x2FC12FC1, 0xF2F52010,
          0xCA451A4E}}};
    for (const auto& [isLocal, types] : rows) {
        for (const unsigned long type : types) {
            EXPECT_EQ(is_local_file_system(type), isLocal) << std::hex << type;
        }
    }
    EXPECT_FALSE(is_on_local_disk("/proc"));
    EXPECT_FALSE(is_on_local_disk("/does/not/exist"));
}

}  // namespace
}  // namespace texprobe::tests
