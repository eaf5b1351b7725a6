#include "run/profile_survey.h"

#include <unistd.h>

#include <cstdio>
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

std::string describe(const FormatRecord& record) {
    std::string text;
    for (const auto& [use, judged] : record.uses) {
        text +=
            (text.empty() ? "" : ", ") + std::string(name_of(use)) + ' ' + name_of(judged.verdict);
    }
    return text;
}

}  // namespace

bool ProfileSurvey::is_recorded(const Format& format) const {
    if (has_no_formats(records_.profile(profile_).value_or(""))) return true;
    const auto record = records_.format(profile_, format);
    return record && is_complete(format, *record);
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
    const auto left = records_.format(profile_, format);
    if (!(left ? survey_use_by_use(format, *left) : survey_at_once(format))) return;
    std::fprintf(stderr, "%s[%d] %s %s: %s\n", records_.name().c_str(), getpid(), name_of(profile_),
                 format.name, describe(*records_.format(profile_, format)).c_str());
}

/// Opens a context, once, and records what it says.
bool ProfileSurvey::is_offered() {
    if (opened_) return opened_->offscreen.is_current();
    const auto former = records_.profile(profile_);
    const bool hasDied = former == kOpeningAgain;
    std::string found = kContextCrashed;
    if (!hasDied) {
        records_.set_profile(profile_, former == kOpening ? kOpeningAgain : kOpening);
        if (!records_.synchronize()) {
            // Nothing has begun, and no later record may say so.
            records_.set_profile(profile_, former);
            return false;
        }
        opened_ = std::make_unique<Opened>(rendererID_, profile_);
        found = opened_->offscreen.is_current() ? opened_->context.version : kContextNotOffered;
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

bool ProfileSurvey::survey_at_once(const Format& format) {
    FormatRecord begun;
    begun.isMeasuring = true;
    if (!record(format, begun)) return false;
    FormatRecord result;
    for (const Use use : kUses) {
        if (has_use(format, use)) result.uses[use] = survey_one(format, use, result);
    }
    return record(format, result);
}

/// After an end that nobody has explained: a use that is under way for the second time is guilty.
bool ProfileSurvey::survey_use_by_use(const Format& format, const FormatRecord& left) {
    FormatRecord result = after_end(left);
    for (const Use use : kUses) {
        if (!has_use(format, use) || result.uses.count(use) != 0) continue;
        if (texprobe::is_interrupted()) {
            record(format, result);
            texprobe::end_by_interruption();
        }
        FormatRecord begun = result;
        begun.uses[use] = begin_use(left, use);
        if (!record(format, begun)) {
            // It has not begun, and no later record may say so.
            records_.set_format(profile_, format, result);
            return false;
        }
        result.uses[use] = survey_one(format, use, result);
    }
    return record(format, result);
}

Judged ProfileSurvey::survey_one(const Format& format, Use use, const FormatRecord& record) {
    if (!opened_) opened_ = std::make_unique<Opened>(rendererID_, profile_);
    if (!opened_->offscreen.is_current()) {
        return {Verdict::kUnknown, "the context was lost, and there is no other"};
    }
    Judged judged = survey_use({opened_->context, opened_->judge, format}, use, record);
    // The next use gets a context of its own.
    if (is_context_lost(judged)) opened_.reset();
    return judged;
}

}  // namespace texprobe::survey
