// Pixels without loss: a shader fetches texels of any format and draws their bits into RGBA32UI,
// which every context from OpenGL 3.3 and OpenGL ES 3.0 on can render and read. The other way
// round, a shader draws the bits that it is given to any format.

#ifndef TEXPROBE_SURVEY_JUDGE_H
#define TEXPROBE_SURVEY_JUDGE_H

#include <map>
#include <string>

#include "opengl/gl_objects.h"
#include "opengl/survey_context.h"
#include "pixels/texel_bytes.h"

namespace texprobe::survey {

/// Defines the bound texture with glTexImage2D, in the plain layout, or with
/// glCompressedTexImage2D.
void define_texture(const Gl& gl, const Format& format, int width, int height, const void* pixels);
/// The same in another layout; with a buffer bound, `pixels` is the place in it.
void define_texture(const Gl& gl, const Format& format, const Layout& layout, int width, int height,
                    const void* pixels);

class Judge {
public:
    /// Checks itself with known clears; trouble() tells the result.
    explicit Judge(const SurveyContext& context);

    /// Why nothing can be judged here; empty if it can.
    const std::string& trouble() const { return trouble_; }
    /// The errors that it names.
    const Errors& errors() const { return errors_; }

    /// The texels of one level of the texture, which is bound afterwards.
    TexelImage look(const Texture& texture, const Format& format, int level, int width,
                    int height) const;

    /// Linear samples between the texels of the first row: at 0, 1/4, 1/2 and 3/4 of
    /// the way from each to the next.
    TexelImage sample_row(const Texture& texture, int width) const;

    /// Draws the image, of texels of that format, to the framebuffer that is bound.
    void draw(const TexelImage& image, const Format& format) const;

private:
    unsigned program(const std::string& body) const;
    void run(const std::string& body, const Texture& texture, int level, int width,
             int height) const;
    TexelImage judge_with(const std::string& body, const Texture& texture, const Format& format,
                          int level, int width, int height) const;
    std::string check();
    bool sees_clear(const char* name, const Texel& color) const;
    bool sees_what_it_draws() const;

    const SurveyContext& context_;
    const Gl& gl_;
    const Format& bits_;  ///< GL_RGBA32UI.
    mutable std::map<std::string, unsigned> programs_;
    std::string trouble_;
    Errors errors_;
};

}  // namespace texprobe::survey

#endif
