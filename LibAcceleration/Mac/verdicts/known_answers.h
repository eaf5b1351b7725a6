// All that is known for the context that asks.

#ifndef TEXPROBE_VERDICTS_KNOWN_ANSWERS_H
#define TEXPROBE_VERDICTS_KNOWN_ANSWERS_H

#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <utility>

#include "TexProbeVerdicts.h"
#include "records/formats.h"
#include "verdicts/survey_answers.h"
#include "verdicts/verdicts.h"

namespace texprobe {

namespace {

/// The survey's answers, if there are any.
class KnownSurvey {
public:
    using Look = std::function<std::optional<SurveyAnswers>()>;

    KnownSurvey& operator=(std::optional<SurveyAnswers> answers) {
        answers_ = std::move(answers);
        return *this;
    }
    /// Who never asks about a use need not wait for the survey's records to be read.
    void look_at_first_question(Look look) { look_ = std::move(look); }

    bool is_found() const { return answers_.has_value(); }
    const SurveyAnswers* get() const {
        std::call_once(*isLookedFor_, [this] {
            if (look_) answers_ = look_();
        });
        return answers_ ? &*answers_ : nullptr;
    }

private:
    Look look_;
    std::unique_ptr<std::once_flag> isLookedFor_ = std::make_unique<std::once_flag>();
    mutable std::optional<SurveyAnswers> answers_;
};

struct KnownAnswers {
    /// The context is one of the kind that the tool measures.
    bool isOfTool = true;
    std::optional<Answers> tool;
    KnownSurvey survey;

    /// Is there anything to answer the questions by capability from?
    bool has_own() const { return isOfTool ? tool.has_value() : survey.is_found(); }

    std::optional<survey::Verdict> verdict(const SurveyQuestion& question) const {
        try {
            const SurveyAnswers* answers = survey.get();
            return answers ? answers->verdict(question) : std::nullopt;
        } catch (const std::bad_alloc&) {
            return std::nullopt;
        }
    }

    std::optional<survey::Layout> upload_layout(unsigned internalFormat) const {
        try {
            const SurveyAnswers* answers = survey.get();
            return answers ? answers->upload_layout(internalFormat) : std::nullopt;
        } catch (const std::bad_alloc&) {
            return std::nullopt;
        }
    }

    texprobe_answer answer(std::size_t format, std::size_t capability) const {
        if (isOfTool) return tool ? tool->at(format, capability) : TEXPROBE_UNKNOWN;
        return answer_of(verdict(question_of_tool(kFormats[format], capability)));
    }

    texprobe_detail detail(std::size_t format, std::size_t capability) const {
        if (answer(format, capability) != TEXPROBE_NO) return TEXPROBE_NO_DETAIL;
        const auto surveyed = verdict(question_of_tool(kFormats[format], capability));
        return surveyed == survey::Verdict::kYes ? TEXPROBE_TOOL_RULE : detail_of(surveyed);
    }
};

}  // namespace

}  // namespace texprobe

#endif
