// The texels of the transfers, and where they lie in memory.

#ifndef TEXPROBE_SURVEY_SENT_TEXELS_H
#define TEXPROBE_SURVEY_SENT_TEXELS_H

#include "pixels/texel_bytes.h"

namespace texprobe::survey {

/// The pattern in one layout, as one long row that begins again at its end. Each image has a piece
/// of it in each of its rows.
class SentTexels {
public:
    SentTexels(const Format& format, const Layout& layout);

    const Layout& layout() const { return layout_; }
    const TexelCodec& codec() const { return codec_; }
    /// The texel that a shader must get, in an image that begins with texel `first` of the pattern.
    const Texel& at(int first, int x, int y) const { return texels_[index(first, x, y)]; }
    /// The texel that came there and was found right; at first the sent one.
    Texel& accepted(int first, int x, int y) { return accepted_[index(first, x, y)]; }
    /// The bytes from there on to the end of a row of up to 128 texels.
    const unsigned char* bytes(int first, int x, int y) const {
        return &bytes_[index(first, x, y) * codec_.texel_size()];
    }

private:
    /// No two rows are alike, not even where a driver takes another length of the rows.
    static std::size_t index(int first, int x, int y) {
        const int place = (first + 131 * y) % kPeriod + x;
        return static_cast<std::size_t>(place);
    }
    static constexpr int kPeriod = 64 * 64;

    const Layout layout_;
    const TexelCodec codec_;
    std::vector<Texel> texels_;
    std::vector<Texel> accepted_;
    std::vector<unsigned char> bytes_;
};

/// Where an image lies in memory, as glPixelStorei says it.
struct Placement {
    int width = 0;
    int height = 0;
    int rowLength = 0;  ///< In texels.
    int skipPixels = 0;
    int skipRows = 0;
    std::size_t offset = 0;  ///< Bytes before all that.
};

/// Memory with room for such an image, and other bytes before, between and behind its rows.
class ImageMemory {
public:
    ImageMemory(const Placement& placement, const TexelCodec& codec);

    std::vector<unsigned char>& bytes() { return bytes_; }
    const std::vector<unsigned char>& bytes() const { return bytes_; }
    /// Where the image begins, before the skipped rows and texels.
    unsigned char* begin() { return bytes_.data() + placement_.offset; }
    const unsigned char* row(int y) const { return bytes_.data() + row_offset(y); }

    /// Puts the image there that begins with texel `first` of the pattern.
    void put(const SentTexels& sent, int first);
    /// True if only the image's rows have changed since the object was made, or the image was put.
    bool is_untouched_around() const;

private:
    std::size_t row_offset(int y) const;
    std::size_t row_size() const;

    const Placement placement_;
    const std::size_t texelSize_;
    std::vector<unsigned char> bytes_;
};

/// Is `came` the right value of a component that had `bitsBefore` bits and now has `bits`? In as
/// many bits a normalized value must be the same step, in others it is less than a step away; all
/// others are the same.
bool is_transferred(Kind kind, int bitsBefore, int bits, double expected, double came);

}  // namespace texprobe::survey

#endif
