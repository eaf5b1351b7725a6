#include "inspect/child/recorder.h"

#include <cstdio>
#include <utility>

#include "inspect/child/inspected_test.h"
#include "inspect/gl_names.h"

namespace texprobe::ctl {

namespace {

Image copy_image(const Layout& layout, const void* pixels) {
    const auto* bytes = static_cast<const std::uint8_t*>(pixels);
    return {layout, {bytes, bytes + bytes_per_pixel(layout) * kPixels}};
}

}  // namespace

Recorder& Recorder::instance() {
    static Recorder recorder;
    return recorder;
}

void Recorder::turn_on() {
    isOn_ = true;
    // An error that an earlier test has left is not this one's.
    ask_errors(line::kPending);
}

RecordedImages Recorder::take_images() {
    written_.clear();
    return std::exchange(images_, {});
}

/// At once, because the driver may end the process in the call.
void Recorder::say(const char* kind, const std::string& text) const {
    if (!isOn_) return;
    std::printf("%s %s\n", kind, text.c_str());
    std::fflush(stdout);
}

void Recorder::before(const std::string& call) {
    say(line::kCall, call);
}

void Recorder::after() {
    say(line::kReturned, "");
    if (isOn_ && !isDrawing_) ask_errors(line::kError);
}

void Recorder::ask_errors(const char* kind) {
    // A context that is lost may report errors for ever.
    for (int i = 0; i < 8; ++i) {
        const GLenum error = glGetError();
        if (error == GL_NO_ERROR) break;
        say(kind, gl_name(error));
    }
}

void Recorder::result(const std::string& text) {
    say(line::kResult, text);
}

void Recorder::texture_defined() {
    if (!isOn_) return;
    GLint format = 0;
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, &format);
    say(line::kChosen, gl_name(static_cast<unsigned>(format)));
}

void Recorder::buffer_bound(GLenum target, GLuint buffer) {
    buffers_[target].name = buffer;
}

bool Recorder::has_buffer(GLenum target) const {
    const auto found = buffers_.find(target);
    return found != buffers_.end() && found->second.name != 0;
}

void Recorder::buffer_sized(GLenum target, std::size_t size) {
    buffers_[target].size = size;
}

void Recorder::buffer_mapped(GLenum target, GLenum access, const void* mapping) {
    Buffer& buffer = buffers_[target];
    buffer.mapping = mapping;
    buffer.access = access;
    result(mapping ? "memory" : "no memory");
    if (!mapping || access != GL_READ_ONLY) return;
    if (target == GL_PIXEL_PACK_BUFFER) {
        images_.returned = copy_image(fetched_, mapping);
    } else if (images_.sent) {
        images_.kept = copy_image(images_.sent->layout, mapping);
    }
}

void Recorder::buffer_unmapped(GLenum target) {
    const Buffer& buffer = buffers_[target];
    if (target != GL_PIXEL_UNPACK_BUFFER || buffer.access != GL_WRITE_ONLY) return;
    const auto* bytes = static_cast<const std::uint8_t*>(buffer.mapping);
    if (bytes) written_.assign(bytes, bytes + buffer.size);
}

void Recorder::pixels_sent(const Layout& layout, const void* pixels) {
    const bool isFromBuffer = has_buffer(GL_PIXEL_UNPACK_BUFFER);
    // A texture that is defined without data, or from a layout that is only a placeholder.
    if ((!isFromBuffer && !pixels) || bytes_per_pixel(layout) == 0) return;
    if (isFromBuffer) {
        if (written_.size() == bytes_per_pixel(layout) * kPixels) images_.sent = {layout, written_};
    } else {
        images_.sent = copy_image(layout, pixels);
    }
}

void Recorder::pixels_fetched(const Layout& layout) {
    fetched_ = layout;
}

void Recorder::pixels_returned(const Layout& layout, const void* pixels) {
    images_.returned = copy_image(layout, pixels);
}

}  // namespace texprobe::ctl
