// Texels on their way into a texture.

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
            const std::string errors = take_errors(gl_);
            if (!errors.empty()) return refused("the texture's definition gives " + errors);
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
        const std::string errors = take_errors(gl_);
        if (!errors.empty()) {
            return refused(std::string(sending_.isDefinition ? "glTexImage2D" : "glTexSubImage2D") +
                           " gives " + errors);
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
        ImageMemory memory(placement, sent_.layout());
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
        const auto expectedAt = [&](int x, int y) -> const Texel& {
            return part_.has(x, y) ? sent_.at(kFirstOfImage, x - part_.x, y - part_.y)
                                   : before.at(x, y);
        };
        const auto isSame = [&](std::size_t c, const Texel& expected, const Texel& here, int x,
                                int y) {
            // Luminance is sampled as three components.
            const std::size_t own = format_.base == Base::kLuminance && c < 3 ? 0 : c;
            return part_.has(x, y) &&
                   is_transferred(format_.kind_of(own), bits_in(sent_.layout(), own),
                                  format_.bits[own], expected[c], here[c]);
        };
        return first_mismatch(format_, came, expectedAt, isSame);
    }

    const Work& work_;
    const Gl& gl_;
    const Format& format_;
    const Sending sending_;
    const TriedImage& size_;
    const ImagePart part_;
    const SentTexels& sent_;
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
