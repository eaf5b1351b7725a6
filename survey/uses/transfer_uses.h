// Shared by the transfers: images of two sizes, parts of them, and the texels that are sent.

#ifndef TEXPROBE_SURVEY_TRANSFER_USES_H
#define TEXPROBE_SURVEY_TRANSFER_USES_H

#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "pixels/sent_texels.h"
#include "uses/uses.h"

namespace texprobe::survey {

/// A part of an image, or all of it.
struct ImagePart {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool has(int atX, int atY) const {
        return atX >= x && atY >= y && atX < x + width && atY < y + height;
    }
};

/// An image, and the part that is tried, which begins at odd places and has an odd size.
struct TriedImage {
    int width;
    int height;
    ImagePart part;

    constexpr ImagePart whole() const { return {0, 0, width, height}; }
    std::string name() const {
        return std::to_string(width) + " x " + std::to_string(height) + ": ";
    }
};

inline constexpr TriedImage kLargeImage = {128, 128, {33, 45, 61, 37}};
inline constexpr TriedImage kOddImage = {61, 37, {11, 7, 29, 17}};

/// How a part lies in memory: in longer rows, with something before it in each direction.
inline Placement placement_of_part(const ImagePart& part) {
    return {part.width, part.height, part.width + 6, 3, 2, 0};
}

inline Placement placement_of_whole(const ImagePart& image) {
    return {image.width, image.height, image.width};
}

/// In a buffer: behind an odd number of words of the layout's type.
inline std::size_t offset_in_buffer(const Layout& layout) {
    return 7 * static_cast<std::size_t>(type_of(layout).bytes);
}

/// A texture with texels that the judge has seen.
class SeenTexture {
public:
    SeenTexture(const Work& work, const TriedImage& size);

    const Texture& texture() const { return texture_; }
    const TexelImage& seen() const { return seen_; }
    /// OpenGL's errors when the texels were sent.
    const Errors& errors() const { return errors_; }
    /// Sends other texels, and looks at them.
    void renew(const Work& work);

    /// The bytes that a reading of the whole image in that layout gave, if they were right.
    std::vector<unsigned char>& accepted(const Layout& layout) {
        return accepted_[{layout.format, layout.type}];
    }

private:
    const TriedImage& size_;
    const Texture texture_;
    int first_ = 0;  ///< Texel of the pattern.
    TexelImage seen_;
    std::map<std::pair<unsigned, unsigned>, std::vector<unsigned char>> accepted_;
    Errors errors_;
};

/// The samples that the transfers of one format share, made when first asked for.
class TransferSamples {
public:
    SentTexels& sent(const Format& format, const Layout& layout);
    SeenTexture& seen_texture(const Work& work, const TriedImage& size);

private:
    std::map<std::pair<unsigned, unsigned>, SentTexels> sent_;
    std::unique_ptr<SeenTexture> large_;
    std::unique_ptr<SeenTexture> odd_;
};

Finding upload_texels(const Work& work, const Question& question);
Finding read_texels(const Work& work, const Question& question);

}  // namespace texprobe::survey

#endif
