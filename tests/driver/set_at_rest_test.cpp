// Which record sets a run names as the ones that it works on, and what somebody sees who only
// looks.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "doubles/fake_tool.h"
#include "golden.h"
#include "runs/measuring_turn.h"
#include "support/process.h"
#include "support/scratch_folder.h"

namespace texprobe::tests {
namespace {

using std::chrono::milliseconds;

const std::string kThisSet = "org.texprobe.texprobe2.ff.BUILD";
const std::string kOtherSet = "org.texprobe.texprobe2.1021a00.BUILD";

/// Another process, which does one thing at a time when it is told to.
class Worker {
public:
    explicit Worker(std::vector<std::function<void()>> steps) {
        if (pipe2(orders_, O_CLOEXEC) != 0 || pipe2(reports_, O_CLOEXEC) != 0) std::abort();
        process_ = start([&] {
            char order = 0;
            for (const auto& step : steps) {
                if (read(orders_[0], &order, 1) != 1) break;
                step();
                if (write(reports_[1], &order, 1) != 1) break;
            }
            pause();
            return 0;
        });
    }
    ~Worker() {
        if (process_ != 0) end();
        for (const int end : {orders_[0], orders_[1], reports_[0], reports_[1]}) close(end);
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    void do_next(int steps = 1) const {
        for (char report = 0; steps > 0; --steps) {
            ASSERT_EQ(write(orders_[1], "", 1), 1);
            ASSERT_EQ(read(reports_[0], &report, 1), 1);
        }
    }
    void end() {
        kill(process_, SIGKILL);
        status_of(process_);
        process_ = 0;
    }

private:
    int orders_[2];
    int reports_[2];
    pid_t process_ = 0;
};

class SetAtRestTest : public testing::Test {
protected:
    bool is_at_rest(const std::string& set) const { return SetAtRest(file_, set).has_lasted(); }

    /// What a run does first.
    std::function<void()> take_turn() {
        return [this] {
            TurnSettings settings;
            settings.file = file_;
            turn_ = std::make_unique<MeasuringTurn>(settings, [] {});
        };
    }
    std::function<void()> name(const std::string& set) {
        return [this, set] { turn_->take_in_hand(set); };
    }
    std::function<void()> advance() {
        return [this] { turn_->advance(); };
    }
    std::function<void()> leave() {
        return [this] { turn_.reset(); };
    }

    const ScratchFolder folder_;
    const std::string file_ = folder_.path() / "lock";
    std::unique_ptr<MeasuringTurn> turn_;  // The worker's.
};

TEST_F(SetAtRestTest, is_every_set_when_nobody_has_ever_measured_and_looking_creates_nothing) {
    EXPECT_TRUE(is_at_rest(kThisSet));
    EXPECT_FALSE(std::filesystem::exists(file_));
    EXPECT_TRUE(SetAtRest("", kThisSet).has_lasted());
}

TEST_F(SetAtRestTest, is_every_set_but_those_that_the_run_names) {
    const Worker run({take_turn(), name(""), name(kThisSet), name(kOtherSet), leave()});
    run.do_next();
    EXPECT_FALSE(is_at_rest(kThisSet)) << "it may be any";
    run.do_next();
    EXPECT_TRUE(is_at_rest(kThisSet)) << "it only looks";
    run.do_next();
    EXPECT_FALSE(is_at_rest(kThisSet));
    EXPECT_TRUE(is_at_rest(kOtherSet));
    run.do_next();
    EXPECT_FALSE(is_at_rest(kThisSet));
    EXPECT_FALSE(is_at_rest(kOtherSet));
    run.do_next();
    EXPECT_TRUE(is_at_rest(kThisSet));
    EXPECT_TRUE(is_at_rest(kOtherSet));
}

TEST_F(SetAtRestTest, is_none_while_an_older_tool_measures) {
    const Worker older({[this] {
        const int descriptor = open(file_.c_str(), O_RDWR | O_CREAT, 0600);
        struct flock lock = {};
        lock.l_type = F_WRLCK;
        lock.l_len = 1;
        ASSERT_EQ(fcntl(descriptor, F_SETLK, &lock), 0);
    }});
    EXPECT_TRUE(is_at_rest(kThisSet));
    older.do_next();
    EXPECT_FALSE(is_at_rest(kThisSet));
    EXPECT_FALSE(is_at_rest(kOtherSet));
}

TEST_F(SetAtRestTest, is_the_set_of_a_run_that_was_killed) {
    Worker run({take_turn(), name(kThisSet)});
    run.do_next(2);
    EXPECT_FALSE(is_at_rest(kThisSet));
    run.end();
    EXPECT_TRUE(is_at_rest(kThisSet));
}

TEST_F(SetAtRestTest, has_not_lasted_when_a_run_began_ended_or_came_and_went) {
    const Worker run({take_turn(), name(kThisSet), leave(), take_turn(), name(kThisSet), leave()});
    const SetAtRest beforeAll(file_, kThisSet);
    run.do_next(2);
    EXPECT_FALSE(beforeAll.has_lasted());
    const SetAtRest meanwhile(file_, kThisSet);
    run.do_next();
    EXPECT_FALSE(meanwhile.has_lasted());
    const SetAtRest between(file_, kThisSet);
    EXPECT_TRUE(between.has_lasted());
    run.do_next(3);
    EXPECT_FALSE(between.has_lasted());
}

TEST_F(SetAtRestTest, has_lasted_while_a_run_went_on_with_another_set) {
    const Worker run({take_turn(), name(kOtherSet), advance()});
    run.do_next(2);
    const SetAtRest rest(file_, kThisSet);
    run.do_next();
    EXPECT_TRUE(rest.has_lasted());
}

TEST_F(SetAtRestTest, has_not_lasted_when_the_turn_was_taken_from_one_who_hangs) {
    const Worker run({take_turn(), name(kThisSet), leave()});
    const Worker next({[] {}, take_turn(), name(kThisSet), leave()});
    run.do_next(2);
    std::filesystem::remove(file_);
    const SetAtRest rest(file_, kThisSet);
    EXPECT_TRUE(rest.has_lasted()) << "what hangs in its test will not change it any more";
    next.do_next(4);
    EXPECT_FALSE(rest.has_lasted());
}

TEST_F(SetAtRestTest, is_waited_for_again_and_named_again_after_the_turn_was_lost) {
    const Worker run({take_turn(), name(kOtherSet), advance(), name(kOtherSet)});
    run.do_next(2);
    std::filesystem::remove(file_);
    run.do_next();
    EXPECT_FALSE(is_at_rest(kThisSet)) << "it may be any";
    run.do_next();
    EXPECT_TRUE(is_at_rest(kThisSet));
    EXPECT_FALSE(is_at_rest(kOtherSet));
}

TEST_F(SetAtRestTest, looking_takes_nothing_from_the_run) {
    const Worker run({take_turn(), name(kThisSet), leave()});
    run.do_next(2);
    for (int i = 0; i < 100; ++i) ASSERT_FALSE(is_at_rest(kThisSet));
    const Worker other({take_turn()});
    EXPECT_FALSE(is_at_rest(kThisSet));
    run.do_next();
    other.do_next();
    EXPECT_FALSE(is_at_rest(kThisSet)) << "the next one has it";
}

TEST_F(SetAtRestTest, is_none_in_the_process_that_measures_and_asking_keeps_its_turn) {
    take_turn()();
    EXPECT_FALSE(is_at_rest(kThisSet));
    const Worker other({[this] { EXPECT_FALSE(SetAtRest(file_, kOtherSet).has_lasted()); }});
    other.do_next();
    turn_.reset();
    EXPECT_TRUE(is_at_rest(kThisSet));
}

/// The whole tool, which rests at one of its calls.
class SetOfTheTool : public testing::Test {
protected:
    ~SetOfTheTool() override {
        kill(-process_, SIGKILL);
        finish(process_);
    }

    /// Runs the tool until this call, counted from 1.
    void run_until(unsigned call) {
        tool_.set_script(kOneRenderer + "log\npause " + std::to_string(call + 1) + " 60000\n");
        process_ = tool_.start();
        while (tool_.calls().size() < call + 2) {
            std::this_thread::sleep_for(milliseconds(1));
        }
    }
    bool is_at_rest(const std::string& set) const {
        const auto folder = std::filesystem::path(tool_.path()).parent_path();
        return SetAtRest(folder / "measuring.lock", set).has_lasted();
    }

    FakeTool tool_{kOneRenderer};
    pid_t process_ = 0;
};

TEST_F(SetOfTheTool, is_in_hand_during_a_test) {
    run_until(golden_call("CFPreferencesSetAppValue(GL_RGBA32F_ARB_UPLOAD_SET, false"));
    EXPECT_FALSE(is_at_rest(kAppID));
    EXPECT_TRUE(is_at_rest(kOtherSet));
}

TEST_F(SetOfTheTool, is_in_hand_while_old_records_are_removed) {
    run_until(golden_call("CFPreferencesSetMultiple"));
    EXPECT_FALSE(is_at_rest(kAppID));
}

TEST_F(SetOfTheTool, is_at_rest_while_a_complete_set_is_looked_at) {
    ASSERT_TRUE(tool_.run().exited_with(0));
    run_until(19);
    EXPECT_TRUE(is_at_rest(kAppID));
}

}  // namespace
}  // namespace texprobe::tests
