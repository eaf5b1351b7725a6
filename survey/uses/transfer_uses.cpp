#include "uses/transfer_uses.h"

namespace texprobe::survey {

SeenTexture::SeenTexture(const Work& work, const TriedImage& size)
    : size_(size), texture_(work.gl()) {
    define_texture(work.gl(), work.format, size.width, size.height, nullptr);
    renew(work);
}

void SeenTexture::renew(const Work& work) {
    constexpr int kNext = 1021;
    const Format& format = work.format;
    const SentTexels& sent = work.samples->sent(format, plain_layout(format));
    ImageMemory memory(placement_of_whole(size_.whole()), sent.codec());
    memory.put(sent, first_);
    texture_.bind();
    work.gl().TexSubImage2D(gl::kTexture2D, 0, 0, 0, size_.width, size_.height,
                            sent.layout().format, sent.layout().type, memory.begin());
    errors_ = take_errors(work.gl());
    seen_ = work.judge.look(texture_, format, 0, size_.width, size_.height);
    accepted_.clear();
    first_ += kNext;
}

SentTexels& TransferSamples::sent(const Format& format, const Layout& layout) {
    return sent_.try_emplace({layout.format, layout.type}, format, layout).first->second;
}

SeenTexture& TransferSamples::seen_texture(const Work& work, const TriedImage& size) {
    std::unique_ptr<SeenTexture>& texture = &size == &kLargeImage ? large_ : odd_;
    if (!texture) texture = std::make_unique<SeenTexture>(work, size);
    return *texture;
}

}  // namespace texprobe::survey
