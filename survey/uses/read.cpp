// Texels on their way back: glReadPixels, and glGetTexImage. They are compared with the texels
// that the judge saw in the texture, so that a bad upload is not blamed on them.

#include <cstring>
#include <utility>
#include <vector>

#include "uses/transfer_uses.h"

namespace texprobe::survey {

namespace {

bool is_get(Use use) {
    return use == Use::kGet || use == Use::kGetBuffer;
}

class Receiving {
public:
    Receiving(const Work& work, const Question& question, const TriedImage& size)
        : gl_(work.gl()),
          format_(work.format),
          layout_(question.layout),
          codec_(work.format, question.layout),
          isGet_(is_get(question.use)),
          isPart_(question.use == Use::kReadPart),
          isToBuffer_(question.use == Use::kReadBuffer || question.use == Use::kGetBuffer),
          size_(size),
          part_(isPart_ ? size.part : size.whole()) {}

    Finding run(SeenTexture& source) const {
        Placement placement = isPart_ ? placement_of_part(part_) : placement_of_whole(part_);
        if (isToBuffer_) placement.offset = offset_in_buffer(layout_);
        ImageMemory memory(placement, codec_);
        source.texture().bind();
        if (isPart_) set_rows(placement);
        const bool isMapped = receive(&memory);
        if (isPart_) set_rows({});
        const Errors errors = take_errors(gl_);
        const std::string call = isGet_ ? "glGetTexImage" : "glReadPixels";
        if (!errors.empty()) return with_errors(refused(call + " gives "), errors);
        if (!isMapped) return cannot_tell("the buffer cannot be mapped");
        const std::string difference = compare(memory, &source);
        if (!difference.empty()) return of_difference(difference, size_.name());
        if (memory.is_untouched_around()) return {};
        return of_difference("bytes around the image are overwritten", size_.name());
    }

private:
    void set_rows(const Placement& placement) const {
        gl_.PixelStorei(gl::kPackRowLength, placement.rowLength);
        gl_.PixelStorei(gl::kPackSkipPixels, placement.skipPixels);
        gl_.PixelStorei(gl::kPackSkipRows, placement.skipRows);
    }

    /// False if the buffer's bytes cannot be had.
    bool receive(ImageMemory* memory) const {
        if (!isToBuffer_) {
            call(memory->begin());
            return true;
        }
        const std::size_t offset = offset_in_buffer(layout_);
        const PixelBuffer buffer(gl_, gl::kPixelPackBuffer, memory->bytes());
        call(place_in_buffer(offset));
        return buffer.read(&memory->bytes());
    }

    void call(void* pixels) const {
        if (isGet_) {
            gl_.GetTexImage(gl::kTexture2D, 0, layout_.format, layout_.type, pixels);
        } else {
            gl_.ReadPixels(part_.x, part_.y, part_.width, part_.height, layout_.format,
                           layout_.type, pixels);
        }
    }

    std::string compare(const ImageMemory& memory, SeenTexture* source) const {
        std::vector<unsigned char>& accepted = source->accepted(layout_);
        if (!seenTexels && !accepted.empty() && is_same(memory, accepted)) return "";
        TexelImage came = make_image(part_.width, part_.height, [&](int x, int y) {
            return codec_.read_texel(memory.row(y) + bytes_of(x));
        });
        came.left = part_.x;
        came.top = part_.y;
        std::string difference = first_mismatch(
            format_, came,
            [&](int x, int y) -> const Texel& {
                return source->seen().at(part_.x + x, part_.y + y);
            },
            [&](std::size_t c, const Texel& expected, const Texel& here, int, int) {
                const int bits = codec_.bits_of(c);
                return bits == 0 || is_transferred(format_.kind_of(c), format_.bits[c], bits,
                                                   expected[c], here[c]);
            });
        if (difference.empty() && !isPart_ && accepted.empty()) {
            // Rows without gaps.
            accepted.assign(memory.row(0), memory.row(part_.height - 1) + bytes_of(part_.width));
        }
        if (seenTexels) show_missing_as_expected();
        return difference;
    }

    std::size_t bytes_of(int texels) const {
        return static_cast<std::size_t>(texels) * codec_.texel_size();
    }

    /// Is this, or this part, the same as the accepted whole image?
    bool is_same(const ImageMemory& memory, const std::vector<unsigned char>& accepted) const {
        for (int y = 0; y < part_.height; ++y) {
            const std::size_t place = bytes_of((part_.y + y) * size_.width + part_.x);
            if (std::memcmp(memory.row(y), &accepted[place], bytes_of(part_.width)) != 0) {
                return false;
            }
        }
        return true;
    }

    /// Components that the layout lacks did not come.
    void show_missing_as_expected() const {
        for (auto& [expected, came, isWrong] : seenTexels->pairs) {
            for (std::size_t c = 0; c < came.size(); ++c) {
                if (codec_.bits_of(c) == 0) came[c] = expected[c];
            }
        }
    }

    const Gl& gl_;
    const Format& format_;
    const Layout layout_;
    const TexelCodec codec_;
    const bool isGet_;
    const bool isPart_;
    const bool isToBuffer_;
    const TriedImage& size_;
    const ImagePart part_;
};

/// Beside the documents, the driver names a layout in which it returns the bound framebuffer.
std::string who_promises_beside(const Gl& gl, const Layout& layout) {
    int format = 0;
    int type = 0;
    gl.GetIntegerv(gl::kImplementationColorReadFormat, &format);
    gl.GetIntegerv(gl::kImplementationColorReadType, &type);
    take_errors(gl);
    const bool isThis =
        format == static_cast<int>(layout.format) && type == static_cast<int>(layout.type);
    return isThis ? "the driver's own query" : "";
}

Finding read_image(const Work& work, const Question& question, const TriedImage& size) {
    SeenTexture& source = work.samples->seen_texture(work, size);
    if (!source.errors().empty()) {
        return with_errors(cannot_tell("nothing can be sent to the texture: "), source.errors());
    }
    const Receiving receiving(work, question, size);
    const bool isEs = work.context.facts.profile == Profile::kEs;
    std::string promise;
    const auto receive = [&]() -> Finding {
        if (is_get(question.use)) return receiving.run(source);
        const Framebuffer framebuffer(work.gl(), work.format, source.texture());
        if (framebuffer.status() != gl::kComplete) return {Finding::Kind::kNotApplicable};
        if (isEs) promise = who_promises_beside(work.gl(), question.layout);
        return receiving.run(source);
    };
    Finding finding = receive();
    // Other texels in the same texture: those read before must not come again.
    if (finding.kind == Finding::Kind::kHolds && &size == &kOddImage) {
        source.renew(work);
        finding = receive();
    }
    finding.promise = promise;
    return finding;
}

}  // namespace

Finding read_texels(const Work& work, const Question& question) {
    for (const TriedImage* size : {&kLargeImage, &kOddImage}) {
        Finding finding = read_image(work, question, *size);
        if (finding.kind != Finding::Kind::kHolds) return finding;
    }
    return {};
}

}  // namespace texprobe::survey
