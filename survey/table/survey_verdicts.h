// The verdicts on a use of a format.

#ifndef TEXPROBE_SURVEY_VERDICTS_H
#define TEXPROBE_SURVEY_VERDICTS_H

#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace texprobe::survey {

enum class Verdict : unsigned char {
    kYes,            ///< It holds, promised or not.
    kRefused,        ///< Promised, and an error, an incomplete framebuffer or a smaller format.
    kWrong,          ///< Promised, and without an error, but other pixels.
    kNotOffered,     ///< It does not hold, and no document promised it.
    kNotApplicable,  ///< The format cannot be created, or to be read not be rendered to.
    kCrashed,        ///< The process died in it.
    kHung,           ///< It did not come back.
    kUnknown,        ///< It could not be told; the text says why.
};

const char* name_of(Verdict verdict);
std::optional<Verdict> find_verdict(std::string_view name);

/// OpenGL's errors, by their numbers.
using Errors = std::set<unsigned>;

/// How a use went, before it is known who is to blame.
struct Finding {
    enum class Kind : unsigned char {
        kHolds,
        kRefused,
        kOtherPixels,
        kCannotTell,
        kNotApplicable  ///< Something is missing that it needs, and that has a verdict of its own.
    };
    Kind kind = Kind::kHolds;
    std::string text = {};     ///< The expected value and the one that came.
    std::string promise = {};  ///< Who promised it, beside the documents.
    bool isPromised = true;    ///< False: the documents do not promise the part that failed.
    Errors errors = {};        ///< Which the text names.
};

struct Judged {
    Verdict verdict = Verdict::kUnknown;
    std::string text;  ///< Empty for a yes.

    bool operator==(const Judged&) const = default;
};

/// `promise` says who promised the use; empty without a promise.
Judged judge(const Finding& finding, const std::string& promise);

}  // namespace texprobe::survey

#endif
