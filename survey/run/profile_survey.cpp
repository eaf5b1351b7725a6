#include "run/profile_survey.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <utility>

#include <runs/interruption.h>
#include <runs/measuring_turn.h>
#include "table/record_keys.h"

namespace texprobe::survey {

namespace {

void end_if_interrupted() {
    if (texprobe::is_interrupted()) texprobe::end_by_interruption();
}

/// The turn for one format. Others may have written records since the last one.
class FormatTurn {
public:
    explicit FormatTurn(SurveyRecords* records)
        : turn_(texprobe::turn_settings(), end_if_interrupted) {
        turn_.take_in_hand(records->name());
        static bool isTold = false;
        const std::string trouble = turn_.trouble();
        if (!trouble.empty() && !std::exchange(isTold, true)) {
            std::fprintf(stderr, "*** %s\n", trouble.c_str());
        }
        records->synchronize();
    }

private:
    texprobe::MeasuringTurn turn_;
};

/// Each use without a layout; of the many others, how many have which verdict.
std::string describe(const FormatRecord& record) {
    std::string text;
    std::map<Verdict, int> inLayouts;
    const auto add = [&](const std::string& what, Verdict verdict) {
        text += (text.empty() ? "" : ", ") + what + ' ' + name_of(verdict);
    };
    for (const auto& [question, judged] : record.uses) {
        if (question.layout.is_none()) {
            add(name_of(question), judged.verdict);
        } else {
            ++inLayouts[judged.verdict];
        }
    }
    for (const auto& [verdict, count] : inLayouts) {
        add(std::to_string(count) + (count == 1 ? " transfer" : " transfers"), verdict);
    }
    return text;
}

/// A process has ended in one of its uses.
bool is_deadly(const FormatRecord& record) {
    return record.isMeasuring || record.underWay ||
           std::any_of(record.uses.begin(), record.uses.end(), [](const auto& use) {
               const Verdict verdict = use.second.verdict;
               return verdict == Verdict::kCrashed || verdict == Verdict::kHung;
           });
}

/// The process that ended the run knows that the use under way hung.
FormatRecord with_hangs(FormatRecord left) {
    if (left.underWay) left.uses[left.underWay->question] = {Verdict::kHung, ""};
    left.underWay.reset();
    return left;
}

}  // namespace

bool ProfileSurvey::is_recorded(const Format& format) const {
    if (has_no_formats(records_.profile(profile_).value_or(""))) return true;
    const auto record = records_.format(profile_, format);
    return record && is_complete(format, profile_, *record);
}

std::string ProfileSurvey::renderer() {
    if (has_no_formats(records_.profile(profile_).value_or(""))) return "";
    if (!records_.renderer(profile_)) {
        end_if_interrupted();
        const FormatTurn turn(&records_);
        is_offered();
        records_.synchronize();
    }
    return records_.renderer(profile_).value_or("");
}

void ProfileSurvey::survey(const Format& format) {
    if (is_recorded(format)) return;
    end_if_interrupted();
    const FormatTurn turn(&records_);
    if (is_recorded(format)) return;
    if (!is_offered()) {
        records_.synchronize();
        return;
    }
    const FormatRecord left = records_.format(profile_, format).value_or(FormatRecord{});
    if (!(is_deadly(left) ? survey_one_by_one(format, left) : survey_at_once(format, left))) return;
    std::fprintf(stderr, "%s[%d] %s %s: %s\n", records_.name().c_str(), getpid(), name_of(profile_),
                 format.name, describe(*records_.format(profile_, format)).c_str());
}

/// Opens a context, once, and records its strings.
bool ProfileSurvey::is_offered() {
    if (opened_) return opened_->offscreen.is_current();
    const auto former = records_.profile(profile_);
    const bool hasDied = former == kOpeningAgain;
    std::string found = ofDeath_ == Verdict::kHung ? kContextHung : kContextCrashed;
    if (!hasDied) {
        records_.set_profile(profile_, former == kOpening ? kOpeningAgain : kOpening);
        if (!records_.synchronize()) {
            // Nothing has begun, and no later record may say so.
            records_.set_profile(profile_, former);
            return false;
        }
        opened_ = std::make_unique<Opened>(rendererID_, profile_);
        const SurveyContext& context = opened_->context;
        found = opened_->offscreen.is_current() ? context.version : kContextNotOffered;
        if (!has_no_formats(found)) {
            records_.set_strings(profile_, context.vendor, context.renderer);
        }
    }
    records_.set_profile(profile_, found);
    std::fprintf(stderr, "%s[%d] %s: %s\n", records_.name().c_str(), getpid(), name_of(profile_),
                 found.c_str());
    if (!has_no_formats(found)) return true;
    opened_.reset();
    return false;
}

/// Writes one record, which is durable before the driver is touched.
bool ProfileSurvey::record(const Format& format, const FormatRecord& record) {
    records_.set_format(profile_, format, record);
    return records_.synchronize();
}

/// The records of an older survey stay.
bool ProfileSurvey::survey_at_once(const Format& format, FormatRecord left) {
    FormatRecord result = left;
    left.isMeasuring = true;
    if (!record(format, left)) return false;
    for (const Question& question : questions_of(format, profile_)) {
        if (result.uses.count(question) != 0) continue;
        result.uses[question] = answer_one(format, question, result);
    }
    return record(format, result);
}

/// After an unexplained end: the question that is under way for the second time is guilty.
bool ProfileSurvey::survey_one_by_one(const Format& format, const FormatRecord& left) {
    FormatRecord result = after_end(ofDeath_ == Verdict::kHung ? with_hangs(left) : left);
    for (const Question& question : questions_of(format, profile_)) {
        if (result.uses.count(question) != 0) continue;
        if (texprobe::is_interrupted()) {
            record(format, result);
            texprobe::end_by_interruption();
        }
        FormatRecord begun = result;
        begun.underWay = begin_use(left, question);
        if (!record(format, begun)) {
            // It has not begun, and no later record may say so.
            records_.set_format(profile_, format, result);
            return false;
        }
        result.uses[question] = answer_one(format, question, result);
    }
    return record(format, result);
}

Judged ProfileSurvey::answer_one(const Format& format, const Question& question,
                                 const FormatRecord& record) {
    if (!opened_) opened_ = std::make_unique<Opened>(rendererID_, profile_);
    if (!opened_->offscreen.is_current()) {
        return {Verdict::kUnknown, "the context was lost, and there is no other"};
    }
    if (!work_ || &work_->format != &format) {
        work_ = std::make_unique<Work>(opened_->context, opened_->judge, format);
    }
    Answer answered = answer(*work_, question, record);
    // The next one gets a context of its own.
    if (answered.errors.count(gl::kContextLost) != 0) {
        work_.reset();
        opened_.reset();
    }
    return std::move(answered.judged);
}

}  // namespace texprobe::survey
