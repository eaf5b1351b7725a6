// The survey's verdicts on one renderer, as a context of one kind asks for them.

#ifndef TEXPROBE_VERDICTS_SURVEY_ANSWERS_H
#define TEXPROBE_VERDICTS_SURVEY_ANSWERS_H

#include <table/promises.h>
#include <table/record_text.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "TexProbeVerdicts.h"
#include "records/formats.h"

namespace texprobe {

namespace {

/// A question to the survey about one format.
struct SurveyQuestion {
    unsigned internalFormat;
    survey::Question question;
};

/// The question that the tool asks as one of its capabilities, in its layouts.
inline SurveyQuestion question_of_tool(const Format& format, std::size_t capability) {
    using survey::Use;
    const survey::Layout layout = {static_cast<unsigned>(format.order),
                                   static_cast<unsigned>(format.type)};
    const std::array<survey::Question, kCapabilityCount> questions = {{{Use::kCreate},
                                                                       {Use::kRender},
                                                                       {Use::kUploadBuffer, layout},
                                                                       {Use::kDefineBuffer, layout},
                                                                       {Use::kGetBuffer, layout},
                                                                       {Use::kReadBuffer, layout}}};
    return {format.internalFormat, questions[capability]};
}

/// Who has the calls of a use, in the words of the survey's table: a context may be older than the
/// survey's, which is of the highest version. Before OpenGL ES 3 no texture has a sized format.
inline const char* words_of_calls(survey::Use use) {
    using survey::Use;
    switch (use) {
        case Use::kCreateStorage:
        case Use::kUploadPartStorage:
            return "gl4.2 es3.0 GL_ARB_texture_storage GL_EXT_texture_storage";
        case Use::kMipmap:
        case Use::kRender:
        case Use::kBlend:
            return "gl3.0 es3.0 GL_ARB_framebuffer_object GL_EXT_framebuffer_object";
        case Use::kUploadBuffer:
        case Use::kDefineBuffer:
        case Use::kReadBuffer:
            return "gl2.1 es3.0 GL_ARB_pixel_buffer_object";
        case Use::kGet:
            return "gl1.0";
        case Use::kGetBuffer:
            return "gl2.1 GL_ARB_pixel_buffer_object";
        default:
            return "gl1.0 es3.0";
    }
}

inline texprobe_answer answer_of(std::optional<survey::Verdict> verdict) {
    using survey::Verdict;
    if (!verdict || *verdict == Verdict::kUnknown) return TEXPROBE_UNKNOWN;
    return *verdict == Verdict::kYes ? TEXPROBE_YES : TEXPROBE_NO;
}

inline texprobe_detail detail_of(std::optional<survey::Verdict> verdict) {
    using survey::Verdict;
    switch (verdict.value_or(Verdict::kUnknown)) {
        case Verdict::kWrong:
            return TEXPROBE_WRONG;
        case Verdict::kRefused:
            return TEXPROBE_REFUSED;
        case Verdict::kNotOffered:
            return TEXPROBE_NOT_OFFERED;
        case Verdict::kCrashed:
            return TEXPROBE_CRASHED;
        case Verdict::kHung:
            return TEXPROBE_HUNG;
        default:
            return TEXPROBE_NO_DETAIL;
    }
}

/// Has this record of a format as many verdicts as there are questions? To read them takes longer
/// than an application may be kept waiting.
inline bool is_whole(const survey::Format& format, survey::Profile profile, std::string_view text) {
    const auto endsWith = [](std::string_view line, std::string_view word) {
        return line.size() >= word.size() && line.substr(line.size() - word.size()) == word;
    };
    if (text.rfind("measuring\n", 0) == 0) return false;
    std::size_t lines = 0;
    for (std::size_t end; (end = text.find('\n')) != std::string_view::npos; ++lines) {
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end + 1);
        if (endsWith(line, " yes")) continue;  // Nearly all of them.
        if (endsWith(line.substr(0, line.find(": ")), " started")) return false;
    }
    return lines >= count_questions(format, profile);
}

/// The survey of one kind of context on one renderer, whole. Any thread may ask.
class SurveyAnswers {
public:
    /// The records of all formats, in the order of the table.
    SurveyAnswers(survey::ContextFacts facts, std::vector<std::string> texts)
        : facts_(std::move(facts)),
          texts_(std::move(texts)),
          read_(std::make_unique<Read>(texts_.size())) {}

    /// None for a question that the survey does not ask. The other uses of a format that cannot be
    /// created have that verdict.
    std::optional<survey::Verdict> verdict(const SurveyQuestion& asked) const {
        const auto& formats = survey::formats();
        const auto format = std::find_if(
            formats.begin(), formats.end(),
            [&](const survey::Format& each) { return each.value == asked.internalFormat; });
        if (format == formats.end()) return std::nullopt;
        const auto created = verdict(*format, survey::Use::kCreate);
        return created == survey::Verdict::kYes ? verdict(*format, asked.question) : created;
    }

    /// The first layout in which uploads of every kind arrive.
    std::optional<survey::Layout> upload_layout(unsigned internalFormat) const {
        const auto& formats = survey::formats();
        const auto format =
            std::find_if(formats.begin(), formats.end(),
                         [&](const survey::Format& each) { return each.value == internalFormat; });
        if (format == formats.end()) return std::nullopt;
        for (const survey::Layout& layout : survey::layouts_of(*format)) {
            using survey::Use;
            const auto arrives = [&](Use use) {
                return verdict({internalFormat, {use, layout}}) == survey::Verdict::kYes;
            };
            if (arrives(Use::kUpload) && arrives(Use::kUploadPart) && arrives(Use::kUploadBuffer)) {
                return layout;
            }
        }
        return std::nullopt;
    }

    /// Where `other` differs, the verdict becomes unknown. Returns how many do.
    std::size_t agree_with(const SurveyAnswers& other) {
        std::size_t differences = 0;
        for (std::size_t i = 0; i < texts_.size(); ++i) {
            const auto& theirs = other.record(i).uses;
            for (auto& [question, judged] : record(i).uses) {
                const auto found = theirs.find(question);
                if (found != theirs.end() && found->second.verdict == judged.verdict) continue;
                judged.verdict = survey::Verdict::kUnknown;
                ++differences;
            }
        }
        return differences;
    }

private:
    std::optional<survey::Verdict> verdict(const survey::Format& format,
                                           const survey::Question& question) const {
        if (!is_asked_somewhere(format, question)) return std::nullopt;
        const bool hasCalls = !survey::who_promises(facts_, words_of_calls(question.use)).empty();
        // A layout or format that the profile lacks is not asked there.
        if (!hasCalls || !has_question(format, question, facts_.profile)) {
            return survey::Verdict::kNotOffered;
        }
        const auto& uses =
            record(static_cast<std::size_t>(&format - survey::formats().data())).uses;
        const auto found = uses.find(question);
        return found == uses.end() ? std::nullopt : std::optional(found->second.verdict);
    }

    /// A format's own uses are known everywhere: integers are never filtered, for example.
    static bool is_asked_somewhere(const survey::Format& format, const survey::Question& question) {
        if (!survey::is_transfer(question.use)) return question.layout.is_none();
        const auto& profiles = survey::kProfiles;
        return std::any_of(profiles.begin(), profiles.end(), [&](survey::Profile profile) {
            return has_question(format, question, profile);
        });
    }

    /// Read when the first question about the format comes.
    survey::FormatRecord& record(std::size_t format) const {
        const std::lock_guard lock(read_->mutex);
        auto& record = read_->records[format];
        if (!record) record = survey::read_record(texts_[format]).value_or(survey::FormatRecord{});
        return *record;
    }

    struct Read {
        explicit Read(std::size_t count) : records(count) {}
        std::mutex mutex;
        std::vector<std::optional<survey::FormatRecord>> records;
    };

    survey::ContextFacts facts_;
    std::vector<std::string> texts_;
    std::unique_ptr<Read> read_;
};

}  // namespace

}  // namespace texprobe

#endif
