// The measuring turn alone: who gets it while others hold it, die, hang, stop or fork.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "runs/measuring_turn.h"
#include "support/process.h"
#include "support/scratch_folder.h"

namespace texprobe {
namespace {

using std::chrono::milliseconds;
using tests::ScratchFolder;
using tests::status_of;

constexpr unsigned kNever = 1000000;  // More looks than any test takes.

/// Counters shared by the processes of a test.
struct Counts {
    std::atomic<int> started{0};
    std::atomic<int> inside{0};
    std::atomic<int> most{0};
    std::atomic<int> through{0};
    std::atomic<bool> mayGoOn{false};
};

bool wait_for(const std::function<bool()>& condition) {
    for (int i = 0; i < 30000 && !condition(); ++i) {
        std::this_thread::sleep_for(milliseconds(1));
    }
    return condition();
}

class MeasuringTurnTest : public testing::Test {
protected:
    ~MeasuringTurnTest() override {
        for (const pid_t child : children_) {
            kill(child, SIGKILL);
            status_of(child);
        }
        munmap(&counts_, sizeof(Counts));
    }

    TurnSettings settings(unsigned patience = kNever) const {
        TurnSettings result;
        result.file = folder_.path() / "lock";
        result.pause = milliseconds(1);
        result.patience = patience;
        return result;
    }

    pid_t start(const std::function<void()>& work) {
        children_.push_back(texprobe::tests::start([&] {
            work();
            return 0;
        }));
        return children_.back();
    }

    /// A process that has the turn during `work`; by default until it is killed.
    pid_t start_holder(const std::function<void(MeasuringTurn&)>& work = keep,
                       unsigned patience = kNever) {
        const int before = counts_.started;
        const pid_t child = start([&] {
            MeasuringTurn turn(settings(patience), [] {});
            ++counts_.started;
            work(turn);
        });
        EXPECT_TRUE(wait_for([&] { return counts_.started > before; }));
        return child;
    }
    static void keep(const MeasuringTurn& /*turn*/) {
        for (;;) pause();
    }

    /// A process that takes the turn, keeps it for a while, and leaves.
    pid_t start_visitor(unsigned patience) {
        return start([this, patience] {
            const MeasuringTurn turn(settings(patience), [] {});
            const int now = ++counts_.inside;
            if (now > counts_.most) counts_.most = now;
            std::this_thread::sleep_for(milliseconds(5));
            --counts_.inside;
            ++counts_.through;
        });
    }

    /// In a process of another user, without a failed expectation?
    static bool run_as(uid_t user, const std::function<void()>& work) {
        return status_of(texprobe::tests::start([&] {
                   if (setuid(user) != 0) return 2;
                   work();
                   return testing::Test::HasFailure() ? 1 : 0;
               })) == 0;
    }

    void end(pid_t child) {
        kill(child, SIGKILL);
        status_of(child);
        std::erase(children_, child);
    }

    bool gets_turn_at_once() {
        bool waited = false;
        MeasuringTurn turn(settings(1), [&] { waited = true; });
        EXPECT_EQ(turn.had_to_wait(), waited);
        return !waited && turn.advance();
    }

    const ScratchFolder folder_;
    Counts& counts_ = *new (mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE,
                                 MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Counts;
    std::vector<pid_t> children_;
};

TEST_F(MeasuringTurnTest, comes_when_the_one_before_leaves) {
    EXPECT_TRUE(gets_turn_at_once()) << "there is none";
    start_holder([this](MeasuringTurn&) {
        wait_for([this] { return counts_.mayGoOn.load(); });
        counts_.through = 1;
    });
    const MeasuringTurn turn(settings(), [this] { counts_.mayGoOn = true; });
    EXPECT_TRUE(turn.had_to_wait());
    EXPECT_EQ(counts_.through, 1);
}

TEST_F(MeasuringTurnTest, is_not_kept_by_a_child_of_a_dead_process) {
    const pid_t holder = start_holder([this](const MeasuringTurn& turn) {
        if (fork() == 0) {
            ++counts_.inside;
            wait_for([this] { return counts_.mayGoOn.load(); });
            ++counts_.through;
            _exit(0);
        }
        keep(turn);
    });
    ASSERT_TRUE(wait_for([&] { return counts_.inside == 1; }));
    end(holder);
    EXPECT_TRUE(gets_turn_at_once());
    counts_.mayGoOn = true;
    EXPECT_TRUE(wait_for([&] { return counts_.through == 1; })) << "the child lived";
}

TEST_F(MeasuringTurnTest, stays_with_a_process_whose_child_ends) {
    start_holder([this](const MeasuringTurn& turn) {
        status_of(texprobe::tests::start([] { return 0; }));
        ++counts_.through;
        keep(turn);
    });
    ASSERT_TRUE(wait_for([&] { return counts_.through == 1; }));
    EXPECT_FALSE(gets_turn_at_once());
}

TEST_F(MeasuringTurnTest, is_taken_from_processes_that_hang_and_goes_to_one_at_a_time) {
    for (int i = 0; i < 4; ++i) start_holder(keep, 50);
    for (int i = 0; i < 12; ++i) start_visitor(300);
    EXPECT_TRUE(wait_for([&] { return counts_.through == 12; }));
    EXPECT_EQ(counts_.most, 1);
    EXPECT_TRUE(gets_turn_at_once()) << "from then on";
}

TEST_F(MeasuringTurnTest, stays_with_a_slow_process_that_goes_on) {
    const pid_t holder = start_holder([this](MeasuringTurn& turn) {
        for (int i = 0; i < 50; ++i) {
            std::this_thread::sleep_for(milliseconds(20));
            if (!turn.advance()) _exit(1);
        }
        counts_.through = 1;
        _exit(0);
    });
    // The other process measures for a second. If it hung, it would lose its turn after a fifth of
    // one.
    const MeasuringTurn turn(settings(200), [] {});
    EXPECT_EQ(counts_.through, 1);
    const int status = status_of(holder);
    children_.clear();
    EXPECT_EQ(status, 0) << "it kept its turn";
}

TEST_F(MeasuringTurnTest, stays_with_a_process_that_was_stopped_together_with_those_who_wait) {
    const pid_t holder = start_holder([this](MeasuringTurn& turn) {
        for (;;) {
            std::this_thread::sleep_for(milliseconds(20));
            if (!turn.advance()) ++counts_.most;
        }
    });
    const pid_t visitor = start([this] {
        const MeasuringTurn turn(settings(400), [this] { counts_.inside = 1; });
        ++counts_.through;
    });
    ASSERT_TRUE(wait_for([&] { return counts_.inside == 1; }));
    for (const pid_t process : {holder, visitor}) kill(process, SIGSTOP);
    std::this_thread::sleep_for(milliseconds(800));
    kill(visitor, SIGCONT);
    std::this_thread::sleep_for(milliseconds(50));
    kill(holder, SIGCONT);
    std::this_thread::sleep_for(milliseconds(100));
    EXPECT_EQ(counts_.most, 0) << "the holder lost its turn";
    EXPECT_EQ(counts_.through, 0) << "the visitor took it";
}

TEST_F(MeasuringTurnTest, is_waited_for_again_by_one_who_lost_it_and_comes_back_to_life) {
    start_holder([this](MeasuringTurn& turn) {
        wait_for([this] { return counts_.mayGoOn.load(); });
        if (!turn.advance()) ++counts_.through;
        keep(turn);
    });
    {
        MeasuringTurn turn(settings(20), [] {});
        counts_.mayGoOn = true;
        std::this_thread::sleep_for(milliseconds(100));
        EXPECT_EQ(counts_.through, 0) << "somebody else measures";
        EXPECT_TRUE(turn.advance());
    }
    EXPECT_TRUE(wait_for([&] { return counts_.through == 1; }));
    EXPECT_FALSE(gets_turn_at_once()) << "it has a turn again";
}

TEST_F(MeasuringTurnTest, is_taken_from_a_stopped_process_at_once) {
    const pid_t holder = start_holder();
    kill(holder, SIGSTOP);
    take_turn_from(holder, settings());
    EXPECT_TRUE(gets_turn_at_once());
}

TEST_F(MeasuringTurnTest, stays_when_the_stopped_process_is_another_one) {
    start_holder();
    const pid_t visitor = start_visitor(kNever);
    take_turn_from(visitor, settings());
    EXPECT_FALSE(gets_turn_at_once());
}

class UnlockablePlaceTest : public MeasuringTurnTest {
protected:
    /// What has been laid in the place of the file does not keep runs from going one at a time.
    void expect_place_is_put_right() {
        {
            MeasuringTurn turn(settings(), [] { ADD_FAILURE() << "it waits"; });
            EXPECT_EQ(turn.trouble(), "");
            struct stat file = {};
            EXPECT_EQ(lstat(settings().file.c_str(), &file), 0);
            EXPECT_TRUE(S_ISREG(file.st_mode));
            EXPECT_EQ(file.st_mode & 07777, 0600u);
            EXPECT_EQ(file.st_uid, geteuid());
            start_visitor(kNever);
            std::this_thread::sleep_for(milliseconds(20));
            EXPECT_EQ(counts_.through, 0);
        }
        EXPECT_TRUE(wait_for([this] { return counts_.through == 1; }));
        counts_.through = 0;
        std::filesystem::remove(settings().file);
    }

    const std::filesystem::path place_ = settings().file;
};

TEST_F(UnlockablePlaceTest, costs_the_turn_alone_and_is_told_if_its_folder_is_there) {
    std::filesystem::create_directories(place_ / "with something in it");
    const std::pair<std::filesystem::path, std::string> rows[] = {
        {"", ""},
        {folder_.path() / "missing" / "lock", ""},
        {place_, "cannot lock " + place_.string() +
                     ": Directory not empty; do not measure twice at the same time"}};
    for (const auto& [file, trouble] : rows) {
        TurnSettings place = settings();
        place.file = file;
        MeasuringTurn turn(place, [] { ADD_FAILURE() << "it waits"; });
        EXPECT_FALSE(turn.had_to_wait());
        EXPECT_TRUE(turn.advance());
        EXPECT_EQ(turn.trouble(), trouble);
        take_turn_from(getpid(), place);
    }
}

TEST_F(UnlockablePlaceTest, something_else_in_the_place_is_removed) {
    std::filesystem::create_directory(place_);
    expect_place_is_put_right();
    ASSERT_EQ(mkfifo(place_.c_str(), 0600), 0);
    expect_place_is_put_right();
    std::filesystem::create_symlink("elsewhere", place_);
    expect_place_is_put_right();
    EXPECT_FALSE(std::filesystem::exists(folder_.path() / "elsewhere"));
}

TEST_F(UnlockablePlaceTest, file_of_root_or_without_rights_is_put_right) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can give files away";
    constexpr uid_t kNobody = 65534;
    ASSERT_EQ(chown(folder_.path().c_str(), kNobody, kNobody), 0);
    close(creat(place_.c_str(), 0600));
    EXPECT_TRUE(run_as(kNobody, [this] { expect_place_is_put_right(); }));
    close(creat(place_.c_str(), 0600));
    ASSERT_EQ(chown(place_.c_str(), kNobody, kNobody), 0);
    ASSERT_EQ(chmod(place_.c_str(), 0), 0);
    EXPECT_TRUE(run_as(kNobody, [this] { expect_place_is_put_right(); }));
    // Nor does the umask take the rights of the file that is made.
    EXPECT_TRUE(run_as(kNobody, [this] {
        umask(0777);
        expect_place_is_put_right();
    }));
}

TEST_F(UnlockablePlaceTest, crowd_that_finds_it_goes_one_at_a_time) {
    for (int round = 0; round < 10; ++round) {
        ASSERT_EQ(mkfifo(place_.c_str(), 0600), 0);
        counts_.most = counts_.through = 0;
        for (int i = 0; i < 12; ++i) start_visitor(kNever);
        EXPECT_TRUE(wait_for([this] { return counts_.through == 12; }));
        EXPECT_EQ(counts_.most, 1) << round;
        std::filesystem::remove(place_);
    }
}

TEST_F(UnlockablePlaceTest, folder_that_cannot_be_changed_ends_the_wait_behind_one_that_hangs) {
    if (geteuid() != 0) GTEST_SKIP() << "needs a folder of another user's";
    constexpr uid_t kNobody = 65534;
    start([this] {
        std::filesystem::permissions(folder_.path(), std::filesystem::perms::all);
        if (setuid(kNobody) != 0) _exit(1);
        const MeasuringTurn turn(settings(), [] {});
        ++counts_.started;
        keep(turn);
    });
    ASSERT_TRUE(wait_for([&] { return counts_.started == 1; }));
    std::filesystem::permissions(folder_.path(), std::filesystem::perms(0755));
    start([this] {
        if (setuid(kNobody) != 0) _exit(1);
        const MeasuringTurn turn(settings(20), [] {});
        ++counts_.through;
    });
    EXPECT_TRUE(wait_for([&] { return counts_.through == 1; }));
}

}  // namespace
}  // namespace texprobe
