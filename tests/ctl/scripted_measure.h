// texprobectl measure with a scripted tool: the scripts of runs, and who else has the turn.

#ifndef TEXPROBE_TESTS_SCRIPTED_MEASURE_H
#define TEXPROBE_TESTS_SCRIPTED_MEASURE_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ctl/ctl_folder.h"
#include "ctl/prepared_records.h"
#include "ctl/present_id.h"
#include "support/formats.h"

namespace texprobe::tests {

class ScriptedMeasure : public testing::Test {
protected:
    static void SetUpTestSuite() { id_ = new std::string(present_id(CTL, TOOL)); }

    static std::string renderer_id() {
        const std::string rest = id_->substr(kIDPrefix.size());
        return rest.substr(0, rest.find('.'));
    }
    static std::string line(const std::string& text) { return *id_ + "[%p] " + text + "\n"; }
    /// A run that waits for its turn.
    static std::string waiting() { return "say " + line("testing renderer: 1"); }
    /// The same, while somebody else records a no, or is in that test.
    static std::string waiting_while_others_record_no(const std::string& key) {
        return waiting() + "set " + *id_ + " VERSION number 0.21\n" + begin(key);
    }
    /// A run that has it.
    static std::string opening() {
        return waiting() + "say " + line("VERSION: 0.21") + "set " + *id_ +
               " VERSION number 0.21\nsync " + *id_ + "\nsay " +
               line("GL_ARB_pixel_buffer_object : SUPPORTED");
    }
    /// The script of one test up to the driver's call.
    static std::string begin(const std::string& key) {
        return "set " + *id_ + " " + key + " false\nsync " + *id_ + "\n";
    }
    /// The script of one test that comes back.
    static std::string test(const std::string& key, const std::string& label, bool verdict) {
        return begin(key) + "set " + *id_ + " " + key + (verdict ? " true" : " false") + "\nsync " +
               *id_ + "\nsay " + line(label + (verdict ? ": 1" : ": 0"));
    }
    /// The script of a run that leaves a complete set, in which all is yes but these, and what
    /// needs them has no record.
    static std::string rest(const std::map<std::string, bool>& verdicts = {}) {
        return complete_set(*id_, "a version", verdicts);
    }
    static std::string removed(const std::string& key) {
        return "removed " + *id_ + " " + key + "\nsync " + *id_ + "\n";
    }

    /// The scripts of a folder's runs, one after the other.
    static void script_runs(const CtlFolder& folder, const std::vector<std::string>& runs) {
        for (std::size_t i = 0; i < runs.size(); ++i) {
            folder.script(static_cast<int>(i) + 1, runs[i]);
        }
    }
    /// A `measure` in which this test crashes.
    void measure_crash(const std::string& key) const {
        script_runs(folder_, {opening() + begin(key) + "raise 11\n", rest({{key, false}})});
        EXPECT_TRUE(folder_.ctl({"measure"}).exited_with(0));
    }
    nlohmann::json first_set() const {
        return nlohmann::json::parse(folder_.ctl({"export"}).out).at("record_sets").at(0);
    }
    std::string verdict(std::size_t format, const char* member) const {
        return first_set().at("formats").at(format).at(member);
    }
    void await_run(int number) const {
        while (folder_.runs() < number) usleep(10000);
    }

    static inline std::string* id_ = nullptr;
    CtlFolder folder_{CTL, SCRIPTED_TOOL};
};

/// A real tool that hangs in one test, as often as it comes to it.
class HangingTool : public testing::Test {
protected:
    void SetUp() override {
        write_file(folder_.file("faults"), std::to_string(kFormats[1].internalFormat) + " 2 0\n");
    }
    static constexpr const char* kHangingTest = "GL_RGBA32F_ARB_UPLOAD_SET";

    CtlFolder folder_{CTL, FAILING_TOOL};
};

/// A process that has the turn of a folder's tools, until it is killed.
class TurnHolder {
public:
    explicit TurnHolder(const std::filesystem::path& file) {
        int ready[2];
        EXPECT_EQ(pipe(ready), 0);
        process_ = start([&] {
            const int lock = open(file.c_str(), O_RDWR | O_CREAT, 0600);
            struct flock whole = {};
            whole.l_type = F_WRLCK;
            const bool isTaken = fcntl(lock, F_SETLK, &whole) == 0;
            if (write(ready[1], isTaken ? "y" : "n", 1) == 1) pause();
            return 0;
        });
        char answer = 'n';
        EXPECT_EQ(read(ready[0], &answer, 1), 1);
        EXPECT_EQ(answer, 'y');
        close(ready[0]);
        close(ready[1]);
    }
    ~TurnHolder() {
        kill(process_, SIGKILL);
        status_of(process_);
    }
    TurnHolder(const TurnHolder&) = delete;
    TurnHolder& operator=(const TurnHolder&) = delete;

    pid_t process() const { return process_; }

private:
    pid_t process_ = -1;
};

}  // namespace texprobe::tests

#endif
