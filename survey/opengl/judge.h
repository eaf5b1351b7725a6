// Pixels without loss: a shader fetches texels of any format and draws their bits into RGBA32UI,
// which every context from OpenGL 3.3 and OpenGL ES 3.0 on can render and read. The other way
// round, a shader draws the bits that it is given to any format.

#ifndef TEXPROBE_SURVEY_JUDGE_H
#define TEXPROBE_SURVEY_JUDGE_H

#include <map>
#include <string>

#include "opengl/gl_objects.h"
#include "opengl/survey_context.h"
#include "pixels/texels.h"

namespace texprobe::survey {

/// What a shader takes a component for.
enum class Numbers : unsigned char { kFloat, kInt, kUint };

Numbers numbers_of(const Format& format);

class Judge {
public:
    /// Checks itself with known clears; trouble() says what it found.
    explicit Judge(const Context& context);

    /// Why nothing can be judged here; empty if it can.
    const std::string& trouble() const { return trouble_; }

    /// The texels of one level of the texture, which is bound afterwards.
    Image look(const Texture& texture, Numbers numbers, int level, int width, int height) const;

    /// What linear sampling gives between the texels of the first row: at 0, 1/4, 1/2 and 3/4 of
    /// the way from each to the next.
    Image sample_row(const Texture& texture, int width) const;

    /// Draws the image to the framebuffer that is bound; to its depth buffer, if `isDepth`.
    void draw(const Image& image, Numbers numbers, bool isDepth) const;

private:
    unsigned program(const std::string& body) const;
    void run(const std::string& body, const Texture& texture, int level, int width,
             int height) const;
    Image read_target(Numbers numbers, int width, int height) const;
    Image judge_with(const std::string& body, const Texture& texture, Numbers numbers, int level,
                     int width, int height) const;
    std::string check() const;
    std::string check_clear(Enum internalFormat, Numbers numbers, const Texel& color) const;
    std::string check_drawing() const;

    const Context& context_;
    const Gl& gl_;
    mutable std::map<std::string, unsigned> programs_;
    std::string trouble_;
};

}  // namespace texprobe::survey

#endif
