// Texels on their way back: glReadPixels, and glGetTexImage. They are compared with what the judge
// has seen in the texture, so that a bad upload is not blamed on them.

#include <cstring>
#include <utility>
#include <vector>

#include "uses/transfer_uses.h"

namespace texprobe::survey {

namespace {

/// One use of reading.
struct Reading {
    bool isPart = false;
    bool isToBuffer = false;
    bool isGet = false;
};

Reading reading_of(Use use) {
    Reading reading;
    reading.isPart = use == Use::kReadPart;
    reading.isToBuffer = use == Use::kReadBuffer || use == Use::kGetBuffer;
    reading.isGet = use == Use::kGet || use == Use::kGetBuffer;
    return reading;
}

class Receiving {
public:
    Receiving(const Work& work, const Question& question, const TriedImage& size)
        : gl_(work.gl()),
          format_(work.format),
          layout_(question.layout),
          codec_(work.format, question.layout),
          reading_(reading_of(question.use)),
          size_(size),
          part_(reading_.isPart ? size.part : size.whole()) {}

    Finding run(SeenTexture& source) const {
        Placement placement =
            reading_.isPart ? placement_of_part(part_) : placement_of_whole(part_);
        if (reading_.isToBuffer) placement.offset = offset_in_buffer(layout_);
        ImageMemory memory(placement, codec_);
        source.texture().bind();
        const bool isInRows = reading_.isPart;
        if (isInRows) set_rows(placement);
        const bool isMapped = receive(&memory);
        if (isInRows) set_rows({});
        const Errors errors = take_errors(gl_);
        const std::string call = reading_.isGet ? "glGetTexImage" : "glReadPixels";
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
        if (!reading_.isToBuffer) {
            call(memory->begin());
            return true;
        }
        const std::size_t offset = offset_in_buffer(layout_);
        const PixelBuffer buffer(gl_, gl::kPixelPackBuffer, memory->bytes());
        call(place_in_buffer(offset));
        return buffer.read(&memory->bytes());
    }

    void call(void* pixels) const {
        if (reading_.isGet) {
            gl_.GetTexImage(gl::kTexture2D, 0, layout_.format, layout_.type, pixels);
        } else {
            gl_.ReadPixels(part_.x, part_.y, part_.width, part_.height, layout_.format,
                           layout_.type, pixels);
        }
    }

    std::string compare(const ImageMemory& memory, SeenTexture* source) const {
        if (seenTexels) show(memory, source->seen());
        const std::size_t size = codec_.texel_size();
        const std::size_t rowSize = static_cast<std::size_t>(part_.width) * size;
        std::vector<unsigned char>& accepted = source->accepted(layout_);
        for (int y = 0; y < part_.height; ++y) {
            const unsigned char* bytes = memory.row(y);
            const auto place = static_cast<unsigned>((part_.y + y) * size_.width + part_.x);
            const bool isKnown =
                !accepted.empty() && std::memcmp(bytes, &accepted[place * size], rowSize) == 0;
            for (int x = 0; x < part_.width && !isKnown; ++x, bytes += size) {
                const Texel& expected = source->seen().at(part_.x + x, part_.y + y);
                const Texel came = codec_.read_texel(bytes);
                if (is_read(expected, came)) continue;
                return describe_difference(format_, expected, part_.x + x, part_.y + y, came);
            }
        }
        if (!reading_.isPart && accepted.empty()) {
            // Rows without gaps.
            accepted.assign(memory.row(0), memory.row(part_.height - 1) + rowSize);
        }
        return "";
    }

    /// What the layout lacks is as it was expected.
    void show(const ImageMemory& memory, const TexelImage& seen) const {
        *seenTexels = {part_.width, sampled_components(format_)};
        for (int i = 0; i < part_.width * part_.height; ++i) {
            const int x = i % part_.width;
            const int y = i / part_.width;
            const Texel& expected = seen.at(part_.x + x, part_.y + y);
            Texel came = codec_.read_texel(memory.row(y) +
                                           static_cast<std::size_t>(x) * codec_.texel_size());
            const bool isWrong = !is_read(expected, came);
            for (std::size_t c = 0; c < came.size(); ++c) {
                if (codec_.bits_of(c) == 0) came[c] = expected[c];
            }
            seenTexels->pairs.push_back({expected, came, isWrong});
        }
    }

    bool is_read(const Texel& expected, const Texel& came) const {
        for (std::size_t c = 0; c < sampled_components(format_); ++c) {
            const int bits = codec_.bits_of(c);
            if (bits != 0 &&
                !is_transferred(format_.kind_of(c), format_.bits[c], bits, expected[c], came[c])) {
                return false;
            }
        }
        return true;
    }

    const Gl& gl_;
    const Format& format_;
    const Layout layout_;
    const TexelCodec codec_;
    const Reading reading_;
    const TriedImage& size_;
    const ImagePart part_;
};

/// Beside the documents, the driver says what it can return from the framebuffer that is bound.
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
        if (reading_of(question.use).isGet) return receiving.run(source);
        const Framebuffer framebuffer(work.gl(), work.format, source.texture());
        if (framebuffer.status() != gl::kComplete) return {Finding::Kind::kNotApplicable};
        if (isEs) promise = who_promises_beside(work.gl(), question.layout);
        return receiving.run(source);
    };
    Finding finding = receive();
    // Other texels in the same texture: what was read before must not come again.
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
