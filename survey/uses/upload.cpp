// Texels on their way into a texture.

#include <algorithm>

#include "uses/transfer_uses.h"

namespace texprobe::survey {

namespace {

/// One use of uploading.
struct Sending {
    bool isPart = false;
    bool hasStorage = false;
    bool isFromBuffer = false;
    bool isDefinition = false;  ///< With glTexImage2D.
};

Sending sending_of(Use use) {
    Sending sending;
    sending.isPart = use == Use::kUploadPart || use == Use::kUploadPartStorage;
    sending.hasStorage = use == Use::kUploadPartStorage;
    sending.isFromBuffer = use == Use::kUploadBuffer || use == Use::kDefineBuffer;
    sending.isDefinition = use == Use::kDefineBuffer;
    return sending;
}

// Texels of the pattern with which the images begin, so that the part is not what was there.
constexpr int kFirstOfBackground = 2000;
constexpr int kFirstOfImage = 0;

class Uploading {
public:
    Uploading(const Work& work, const Question& question, const TriedImage& size)
        : work_(work),
          gl_(work.gl()),
          format_(work.format),
          sending_(sending_of(question.use)),
          size_(size),
          part_(sending_.isPart ? size.part : size.whole()),
          sent_(work.samples->sent(work.format, question.layout)),
          texture_(work.gl()) {}

    Finding run() {
        if (!sending_.isDefinition) {
            make_texture();
            const Errors errors = take_errors(gl_);
            if (!errors.empty()) {
                return with_errors(refused("the texture's definition gives "), errors);
            }
        }
        TexelImage before;
        if (sending_.isPart) {
            const ImagePart whole = size_.whole();
            send(whole, placement_of_whole(whole), kFirstOfBackground);
            before = look();
        }
        Placement placement =
            sending_.isPart ? placement_of_part(part_) : placement_of_whole(part_);
        if (sending_.isFromBuffer) placement.offset = offset_in_buffer(sent_.layout());
        send(part_, placement, kFirstOfImage);
        const Errors errors = take_errors(gl_);
        if (!errors.empty()) {
            const char* const call = sending_.isDefinition ? "glTexImage2D" : "glTexSubImage2D";
            return with_errors(refused(std::string(call) + " gives "), errors);
        }
        return of_difference(compare(before, look()), size_.name());
    }

private:
    void make_texture() const {
        if (sending_.hasStorage) {
            gl_.TexStorage2D(gl::kTexture2D, 1, format_.value, size_.width, size_.height);
        } else {
            define_texture(gl_, format_, sent_.layout(), size_.width, size_.height, nullptr);
        }
    }

    TexelImage look() const {
        return work_.judge.look(texture_, format_, 0, size_.width, size_.height);
    }

    void send(const ImagePart& part, const Placement& placement, int first) const {
        ImageMemory memory(placement, sent_.codec());
        memory.put(sent_, first);
        const bool isInRows = placement.rowLength != placement.width;
        if (isInRows) set_rows(placement);
        if (placement.offset != 0) {
            const PixelBuffer buffer(gl_, gl::kPixelUnpackBuffer, memory.bytes());
            call(part, place_in_buffer(placement.offset));
        } else {
            call(part, memory.begin());
        }
        if (isInRows) set_rows({});
    }

    void call(const ImagePart& part, const void* pixels) const {
        const auto [format, type] = sent_.layout();
        texture_.bind();
        if (sending_.isDefinition) {
            define_texture(gl_, format_, sent_.layout(), part.width, part.height, pixels);
        } else {
            gl_.TexSubImage2D(gl::kTexture2D, 0, part.x, part.y, part.width, part.height, format,
                              type, pixels);
        }
    }

    void set_rows(const Placement& placement) const {
        gl_.PixelStorei(gl::kUnpackRowLength, placement.rowLength);
        gl_.PixelStorei(gl::kUnpackSkipPixels, placement.skipPixels);
        gl_.PixelStorei(gl::kUnpackSkipRows, placement.skipRows);
    }

    std::string compare(const TexelImage& before, const TexelImage& came) const {
        std::string first;
        if (seenTexels) *seenTexels = {came.width, sampled_components(format_)};
        for (int y = 0; y < came.height; ++y) {
            for (int x = 0; x < came.width; ++x) {
                const Texel& here = came.at(x, y);
                const bool isInPart = part_.has(x, y);
                const Texel& expected =
                    isInPart ? sent_.at(kFirstOfImage, x - part_.x, y - part_.y) : before.at(x, y);
                const bool isRight = isInPart
                                         ? has_arrived(x - part_.x, y - part_.y, expected, here)
                                         : has_stayed(expected, here);
                if (seenTexels) seenTexels->pairs.push_back({expected, here, !isRight});
                if (isRight || !first.empty()) continue;
                first = describe_difference(format_, expected, x, y, here);
                if (!seenTexels) return first;
            }
        }
        return first;
    }

    bool has_stayed(const Texel& before, const Texel& here) const {
        const auto end = before.begin() + static_cast<std::ptrdiff_t>(sampled_components(format_));
        return std::equal(before.begin(), end, here.begin());
    }

    /// The same texels come again and again, and are judged once.
    bool has_arrived(int x, int y, const Texel& expected, const Texel& here) const {
        Texel& accepted = sent_.accepted(kFirstOfImage, x, y);
        if (here == accepted) return true;
        for (std::size_t c = 0; c < sampled_components(format_); ++c) {
            // Luminance is sampled as three components.
            const std::size_t own = format_.base == Base::kLuminance && c < 3 ? 0 : c;
            if (!is_transferred(format_.kind_of(own), sent_.codec().bits_of(own), format_.bits[own],
                                expected[c], here[c])) {
                return false;
            }
        }
        accepted = here;
        return true;
    }

    const Work& work_;
    const Gl& gl_;
    const Format& format_;
    const Sending sending_;
    const TriedImage& size_;
    const ImagePart part_;
    SentTexels& sent_;
    const Texture texture_;
};

}  // namespace

Finding upload_texels(const Work& work, const Question& question) {
    for (const TriedImage* size : {&kLargeImage, &kOddImage}) {
        Finding finding = Uploading(work, question, *size).run();
        if (finding.kind != Finding::Kind::kHolds) return finding;
    }
    return {};
}

}  // namespace texprobe::survey
