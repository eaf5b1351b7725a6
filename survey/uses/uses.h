// The uses, each a function of context and format.

#ifndef TEXPROBE_SURVEY_USES_H
#define TEXPROBE_SURVEY_USES_H

#include <optional>
#include <string>
#include <utility>

#include "opengl/judge.h"
#include "pixels/texel_bytes.h"
#include "table/record_text.h"

namespace texprobe::survey {

/// What a use works with.
struct Work {
    const Context& context;
    const Judge& judge;
    const Format& format;

    const Gl& gl() const { return context.gl; }
};

Finding create(const Work& work);
Finding create_storage(const Work& work);
Finding filter(const Work& work);
Finding generate_mipmap(const Work& work);
Finding render(const Work& work);
Finding blend(const Work& work);

/// The verdict on one use; those of the uses before it are in `record`.
Judged survey_use(const Work& work, Use use, const FormatRecord& record);

/// Has the driver said that the context is lost?
bool is_context_lost(const Judged& judged);

// What the uses share.

inline Finding refused(std::string text) {
    return {Finding::Kind::kRefused, std::move(text)};
}
inline Finding other_pixels(std::string text) {
    return {Finding::Kind::kOtherPixels, std::move(text)};
}
inline Finding cannot_tell(std::string text) {
    return {Finding::Kind::kCannotTell, std::move(text)};
}

/// Defines the bound texture with glTexImage2D.
void define(const Work& work, int width, int height, const void* pixels);

/// Defines the texture with the image, and looks at what has arrived. A finding if that is not the
/// image: then nothing that follows can be told.
std::optional<Finding> upload(const Work& work, const Texture& texture, const Image& image,
                              Image* arrived);

/// Where the texture is attached to a framebuffer.
Enum attachment_of(const Format& format);

/// "the framebuffer is incomplete (unsupported)"
Finding incomplete(Enum status);

}  // namespace texprobe::survey

#endif
