// Texels on their way into a texture.

#include "uses/transfer_uses.h"

namespace texprobe::survey {

namespace {

// Texels of the pattern with which the images begin, so that the part differs from them.
constexpr int kFirstOfBackground = 2000;
constexpr int kFirstOfImage = 0;

class Uploading {
public:
    Uploading(const Work& work, const Question& question, const TriedImage& size)
        : work_(work),
          gl_(work.gl()),
          format_(work.format),
          hasStorage_(question.use == Use::kUploadPartStorage),
          isPart_(question.use == Use::kUploadPart || hasStorage_),
          isDefinition_(question.use == Use::kDefineBuffer),
          isFromBuffer_(question.use == Use::kUploadBuffer || isDefinition_),
          size_(size),
          part_(isPart_ ? size.part : size.whole()),
          sent_(work.samples->sent(work.format, question.layout)),
          texture_(work.gl()) {}

    Finding run() {
        if (!isDefinition_) {
            make_texture();
            const Errors errors = take_errors(gl_);
            if (!errors.empty()) {
                return with_errors(refused("the texture's definition gives "), errors);
            }
        }
        TexelImage before;
        if (isPart_) {
            const ImagePart whole = size_.whole();
            send(whole, placement_of_whole(whole), kFirstOfBackground);
            before = look();
        }
        Placement placement = isPart_ ? placement_of_part(part_) : placement_of_whole(part_);
        if (isFromBuffer_) placement.offset = offset_in_buffer(sent_.layout());
        send(part_, placement, kFirstOfImage);
        const Errors errors = take_errors(gl_);
        if (!errors.empty()) {
            const char* const call = isDefinition_ ? "glTexImage2D" : "glTexSubImage2D";
            return with_errors(refused(std::string(call) + " gives "), errors);
        }
        return of_difference(compare(before, look()), size_.name());
    }

private:
    void make_texture() const {
        if (hasStorage_) {
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
        if (isDefinition_) {
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
        return first_mismatch(
            format_, came,
            [&](int x, int y) -> const Texel& {
                if (!part_.has(x, y)) return before.at(x, y);
                return sent_.at(kFirstOfImage, x - part_.x, y - part_.y);
            },
            [&](std::size_t c, const Texel& expected, const Texel& here, int x, int y) {
                return part_.has(x, y) &&
                       has_arrived(x - part_.x, y - part_.y, c, expected[c], here[c]);
            });
    }

    /// The same texels come again and again, and are judged once.
    bool has_arrived(int x, int y, std::size_t c, double expected, double here) const {
        double& accepted = sent_.accepted(kFirstOfImage, x, y)[c];
        if (here == accepted) return true;
        // Luminance is sampled as three components.
        const std::size_t own = format_.base == Base::kLuminance && c < 3 ? 0 : c;
        if (!is_transferred(format_.kind_of(own), sent_.codec().bits_of(own), format_.bits[own],
                            expected, here)) {
            return false;
        }
        accepted = here;
        return true;
    }

    const Work& work_;
    const Gl& gl_;
    const Format& format_;
    const bool hasStorage_;
    const bool isPart_;
    const bool isDefinition_;  ///< With glTexImage2D.
    const bool isFromBuffer_;
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
