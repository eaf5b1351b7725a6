// The uses, each a function of context and format.

#ifndef TEXPROBE_SURVEY_USES_H
#define TEXPROBE_SURVEY_USES_H

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "opengl/judge.h"
#include "table/record_text.h"

namespace texprobe::survey {

class TransferSamples;

/// The context, the judge and the format that the uses work with.
struct Work {
    Work(const SurveyContext& on, const Judge& by, const Format& of);

    const SurveyContext& context;
    const Judge& judge;
    const Format& format;
    const std::shared_ptr<TransferSamples> samples;

    const Gl& gl() const { return context.gl; }
};

Finding create(const Work& work);
Finding create_storage(const Work& work);
Finding filter(const Work& work);
Finding generate_mipmap(const Work& work);
Finding render(const Work& work);
Finding blend(const Work& work);
/// Of compressed formats; also to a texture of glTexStorage2D where there is one.
Finding upload_blocks(const Work& work, Use use, bool hasStorage);

struct Answer {
    Judged judged;
    Errors errors;  ///< OpenGL's errors meanwhile.
};

/// The verdict on one question; those on the ones before it are in `record`.
Answer answer(const Work& work, const Question& question, const FormatRecord& record);

// Shared by the uses.

inline Finding refused(std::string text) {
    return {Finding::Kind::kRefused, std::move(text)};
}
inline Finding cannot_tell(std::string text) {
    return {Finding::Kind::kCannotTell, std::move(text)};
}
/// With the errors' names behind the text.
inline Finding with_errors(Finding finding, const Errors& errors) {
    finding.text += names_of(errors);
    finding.errors = errors;
    return finding;
}

/// Other pixels, if there is a difference.
inline Finding of_difference(const std::string& difference, const std::string& where = "") {
    if (difference.empty()) return {};
    return {Finding::Kind::kOtherPixels, where + difference};
}

/// Where the texels that came differ from those sent or drawn; empty if nowhere. Components that
/// the expected ones lack are ignored.
std::string difference_from(const Format& format, const TexelImage& expected,
                            const TexelImage& came);

/// Defines the texture with the image, and looks at the texels there. A finding if they are not the
/// image: then nothing that follows can be told.
std::optional<Finding> upload(const Work& work, const Texture& texture, const TexelImage& image,
                              TexelImage* arrived);

}  // namespace texprobe::survey

#endif
