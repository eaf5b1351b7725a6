#include "scripted_verdicts.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <set>

#include "table/record_keys.h"

namespace texprobe::tests {

namespace {

std::set<std::string> all_threads() {
    std::set<std::string> threads;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
        threads.insert(entry.path().filename());
    }
    return threads;
}

/// A sanitizer starts a thread of its own, together with the first one of the process.
std::set<std::string> threads_of_sanitizer() {
    std::string first;
    std::thread([&] { first = std::to_string(gettid()); }).join();
    std::set<std::string> threads = all_threads();
    // The kernel may still show what has been joined.
    while (threads.count(first) == 1) threads = all_threads();
    threads.erase(std::to_string(getpid()));
    return threads;
}

}  // namespace

ScriptedVerdicts::ScriptedVerdicts() {
    EXPECT_EQ(threads_of_process().size(), 1u);
    // So that what hangs need not hang for long.
    least_test_time() = std::chrono::milliseconds(0);
    machine() = {};
    machine().displays = {{1, {{0xff}, {0x1021a00}}}};
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
}

ScriptedVerdicts::~ScriptedVerdicts() {
    verdicts_.reset();
    const std::string printed = testing::internal::GetCapturedStdout();
    // GoogleTest says there why it skips.
    if (!testing::Test::IsSkipped()) {
        EXPECT_EQ(printed, "");
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(threads_that_stay(), 1u);
    EXPECT_EQ(tools(), std::vector<pid_t>());
}

void ScriptedVerdicts::record(const std::string& lines) const {
    script(lines);
    ASSERT_TRUE(folder_.run().exited_with(0));
    std::filesystem::remove(folder_.path() / "script");
    std::filesystem::remove(folder_.path() / "runs");
}

void ScriptedVerdicts::be_in(const char* version, int profile, const char* vendor,
                             const char* renderer) {
    machine().version = version;
    machine().profile = profile;
    machine().vendor = vendor;
    machine().renderer = renderer;
}

texprobe_options ScriptedVerdicts::options(int limit) {
    return {sizeof(texprobe_options), tool_.c_str(), limit, write_log, this, 0, nullptr};
}

void ScriptedVerdicts::open(int limit) {
    const texprobe_options wish = options(limit);
    verdicts_.emplace(&wish);
}

texprobe_state ScriptedVerdicts::measure(const texprobe_options& options) {
    verdicts_.emplace(&options);
    const texprobe_state state = verdicts_->wait();
    reason_ = verdicts_->reason();
    return state;
}

std::vector<double> ScriptedVerdicts::progress_until_over() {
    std::vector<double> seen;
    while (verdicts_->wait(20) == TEXPROBE_MEASURING) {
        const double progress = verdicts_->progress();
        if (seen.empty() || progress != seen.back()) seen.push_back(progress);
    }
    return seen;
}

void ScriptedVerdicts::await_tool() const {
    while (tools().empty()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void ScriptedVerdicts::write_log(void* user, const char* line) {
    auto& self = *static_cast<ScriptedVerdicts*>(user);
    const std::lock_guard lock(self.mutex_);
    self.log_.emplace_back(line);
    self.threads_.push_back(std::this_thread::get_id());
}

std::vector<std::string> ScriptedVerdicts::log() {
    const std::lock_guard lock(mutex_);
    return log_;
}

std::vector<std::thread::id> ScriptedVerdicts::log_threads() {
    const std::lock_guard lock(mutex_);
    return threads_;
}

std::vector<std::string> threads_of_process() {
    static const std::set<std::string> ofSanitizer = threads_of_sanitizer();
    std::vector<std::string> threads;
    for (const std::string& thread : all_threads()) {
        if (ofSanitizer.count(thread) == 0) threads.push_back(thread);
    }
    return threads;
}

std::size_t threads_that_stay() {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (threads_of_process().size() > 1 && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return threads_of_process().size();
}

ScriptedSurvey::ScriptedSurvey() {
    // The tool's program does both.
    std::filesystem::create_hard_link(folder_.tool(), folder_.path() / "texprobe-survey");
    write_file(folder_.path() / "survey-runs", "");
    be_in("4.5 (Core Profile) Driver 1.2", 1);
}

std::string ScriptedSurvey::survey_of(survey::Profile profile, const std::string& version,
                                      const std::vector<ExceptUse>& except,
                                      const std::string& application) {
    const std::string set = "set " + application + " ";
    std::string lines = set + key_of(profile) + " text " + version + "\n" + set +
                        survey::vendor_key_of(profile) + " text Vendor\n" + set +
                        survey::renderer_key_of(profile) + " text Renderer\n";
    for (const survey::Format& format : survey::formats()) {
        lines += set + key_of(profile, format) + " text ";
        for (const survey::Question& question : questions_of(format, profile)) {
            const auto found =
                std::find_if(except.begin(), except.end(), [&](const ExceptUse& each) {
                    return (!each.format || std::string(format.name) == each.format) &&
                           question.use == each.use &&
                           (each.layout.is_none() || question.layout == each.layout);
                });
            const bool isYes = found == except.end();
            lines += name_of(question) + ' ' +
                     name_of(isYes ? survey::Verdict::kYes : found->verdict) + "%n";
        }
        lines += "\n";
    }
    return lines + "sync " + application + "\n";
}

std::string ScriptedSurvey::core_survey(const std::vector<ExceptUse>& except,
                                        const std::string& application) {
    return survey_of(survey::Profile::kCore, "4.6 (Core Profile) Driver 1.2", except, application);
}

std::string ScriptedSurvey::compatibility_survey(const std::vector<ExceptUse>& except) {
    return survey_of(survey::Profile::kCompatibility, "4.6 (Compatibility Profile) Version",
                     except);
}

texprobe_state ScriptedSurvey::measure_as_wished(int what) {
    texprobe_options wish = options();
    wish.measure = what;
    return measure(wish);
}

}  // namespace texprobe::tests
