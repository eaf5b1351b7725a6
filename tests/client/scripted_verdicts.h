// TexProbeVerdicts on the scripted machine, with a tool and a survey that do what scripts tell
// them.

#ifndef TEXPROBE_TESTS_SCRIPTED_VERDICTS_H
#define TEXPROBE_TESTS_SCRIPTED_VERDICTS_H

#include <gtest/gtest.h>
#include <sys/types.h>

#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "TexProbeVerdicts.h"
#include "doubles/scripted_machine.h"
#include "records_of_test.h"
#include "support/answers.h"
#include "support/text.h"
#include "support/tool_folder.h"
#include "table/record_text.h"

namespace texprobe::tests {

constexpr unsigned kRGBA8 = 0x8058;

/// The machine has two renderers; the context is of the first one, and none is measured. After each
/// test, nothing may be on the streams, and neither a thread nor a process may be left.
class ScriptedVerdicts : public testing::Test {
protected:
    ScriptedVerdicts();
    ~ScriptedVerdicts() override;

    // Lines of a script.

    static std::string no(const std::string& key) { return set_of_first(key, "false"); }
    static std::string old_version() { return set_of_first("VERSION", "number 0.2"); }
    static std::string removed(const std::string& key) {
        return std::string("removed ") + kFirst + " " + key + "\n";
    }
    static std::string set_of_first(const std::string& key, const std::string& value) {
        return std::string("set ") + kFirst + " " + key + " " + value + "\n";
    }
    static std::string sync_first() { return std::string("sync ") + kFirst + "\n"; }

    /// What the tool does in all its runs, or only in the given one.
    void script(const std::string& lines) const { folder_.script(lines); }
    void script(const std::string& lines, int run) const { folder_.script(run, lines); }
    int runs() const { return folder_.runs(); }
    /// Has the tool record all this now.
    void record(const std::string& lines) const;

    /// Makes another context current.
    static void be_in(const char* version, int profile = 0, const char* vendor = "Vendor",
                      const char* renderer = "Renderer");

    /// With the scripted tool and a log that is kept.
    texprobe_options options(int limit = 0);
    void open(int limit = 0);
    /// Opens, and waits until it is over. Keeps the reason.
    texprobe_state measure(const texprobe_options& options);
    texprobe_state measure(int limit = 0) { return measure(options(limit)); }
    /// Waits until it is over; returns each progress that was seen, and nothing twice in a row.
    std::vector<double> progress_until_over();

    texprobe_answer answer(unsigned format, texprobe_capability capability) const {
        return verdicts_->answer(format, capability);
    }
    /// "yyynyy" of one format, and "?" for what is unknown.
    std::string answers(unsigned format = kRGBA8) const { return answers_of(*verdicts_, format); }

    std::vector<std::string> log();
    std::vector<std::thread::id> log_threads();

    std::vector<pid_t> tools() const { return folder_.processes(); }
    void await_tool() const;

    const ToolFolder& folder_ = empty_folder(SCRIPTED_TOOL);
    std::string tool_ = folder_.tool();
    std::optional<qor::TexProbeVerdicts> verdicts_;
    std::string reason_;

private:
    static void write_log(void* user, const char* line);

    std::mutex mutex_;
    std::vector<std::string> log_;
    std::vector<std::thread::id> threads_;
};

/// The numbers of this process's threads, without a sanitizer's. First called while there is only
/// the main one.
std::vector<std::string> threads_of_process();

/// How many there are once those that have been joined are gone: the kernel may still show them for
/// a moment.
std::size_t threads_that_stay();

constexpr char kFirstSurvey[] = "org.texprobe.survey1.ff.22G120";
constexpr char kSecondSurvey[] = "org.texprobe.survey1.1021a00.22G120";

/// The verdict on one question of the survey, in one layout or in all.
struct ExceptUse {
    const char* format;  ///< Null: each.
    survey::Use use;
    survey::Verdict verdict;
    survey::Layout layout = {};
};

/// Both programs are scripted. The context is one of the core profile, of the first renderer.
class ScriptedSurvey : public ScriptedVerdicts {
protected:
    ScriptedSurvey();

    /// The lines of a script that records a whole survey of one profile: every verdict is yes, but
    /// for what `except` says.
    static std::string survey_of(survey::Profile profile, const std::string& version,
                                 const std::vector<ExceptUse>& except = {},
                                 const std::string& application = kFirstSurvey);
    static std::string core_survey(const std::vector<ExceptUse>& except = {},
                                   const std::string& application = kFirstSurvey);
    static std::string compatibility_survey(const std::vector<ExceptUse>& except = {});
    /// The record of one format in the core profile.
    static std::string format_record(const std::string& text) {
        return std::string("set ") + kFirstSurvey + " core.GL_R8 text " + text + "\nsync " +
               kFirstSurvey + "\n";
    }

    void script_survey(const std::string& lines) const { write_survey_script("", lines); }
    void script_survey(const std::string& lines, int run) const {
        write_survey_script("." + std::to_string(run), lines);
    }
    /// The arguments of each run, as "run --profile core".
    std::vector<std::string> survey_runs() const {
        return lines_of(read_file(folder_.path() / "survey-runs"));
    }

    texprobe_state measure_as_wished(int what);

private:
    void write_survey_script(const std::string& ofRun, const std::string& lines) const {
        write_file(folder_.path() / ("survey-script" + ofRun), lines);
    }
};

}  // namespace texprobe::tests

#endif
