// How texels travel to a format and back: OpenGL's pairs of format and type, and the
// questions of the survey to each.

#ifndef TEXPROBE_SURVEY_LAYOUT_TABLE_H
#define TEXPROBE_SURVEY_LAYOUT_TABLE_H

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "table/promises.h"

namespace texprobe::survey {

/// OpenGL's format and type; 0 and 0 is none.
struct Layout {
    unsigned format = 0;
    unsigned type = 0;

    bool is_none() const { return format == 0; }
    bool operator==(const Layout&) const = default;
};

/// The subject of a verdict: a use, and of most transfers the layout.
struct Question {
    Question(Use asked, Layout how = {}) : use(asked), layout(how) {}

    Use use;
    Layout layout;

    bool operator==(const Question&) const = default;
    /// First the uses without a layout, then layout by layout.
    bool operator<(const Question& other) const {
        return std::tie(layout.format, layout.type, use) <
               std::tie(other.layout.format, other.layout.type, other.use);
    }
};

/// The layouts in which applications send the format's texels and get them, and at the end the one
/// in which alone OpenGL ES must return them. The first one, which has the format's own precision,
/// is the one to try first. Empty for formats whose transfers have no layout.
const std::vector<Layout>& layouts_of(const Format& format);

/// Is this asked of the format in contexts of that profile?
bool has_question(const Format& format, const Question& question, Profile profile);

/// All of them: first the format's uses, then layout by layout.
std::vector<Question> questions_of(const Format& format, Profile profile);

std::size_t count_questions(const Format& format, Profile profile);

/// Who promises that it holds, as in promises.h; reading, where the framebuffer is complete.
std::string who_promises(const ContextFacts& facts, const Format& format, const Question& question);

/// "GL_BGRA GL_UNSIGNED_BYTE"
std::string name_of(const Layout& layout);
/// "filter", "upload GL_BGRA GL_UNSIGNED_BYTE"
std::string name_of(const Question& question);
std::optional<Layout> find_layout(std::string_view format, std::string_view type);

/// A layout's first number.
struct LayoutFormat {
    const char* name;
    unsigned value;
    const char* components;  ///< In their order in memory: '0' is red, luminance or depth.
};

/// Its second number.
struct LayoutType {
    const char* name;
    unsigned value;
    int bytes;  ///< Of one component; of a texel where all are packed into one word.
    /// How many bits of the word each component has, in their order; all 0 where each component
    /// has a word of its own.
    std::array<int, 4> packed = {};
    bool isReversed = false;  ///< The first component has the lowest bits.

    bool is_packed() const { return packed[0] != 0; }
};

/// Of a layout that has them.
const LayoutFormat& format_of(const Layout& layout);
const LayoutType& type_of(const Layout& layout);

}  // namespace texprobe::survey

#endif
