// Textures, framebuffers and buffers that are gone with the object.

#ifndef TEXPROBE_SURVEY_GL_OBJECTS_H
#define TEXPROBE_SURVEY_GL_OBJECTS_H

#include <cstring>
#include <vector>

#include "opengl/gl_functions.h"
#include "table/format_table.h"

namespace texprobe::survey {

/// Bound to GL_TEXTURE_2D, not filtered, with one level. The filter is that of several, so that a
/// driver compiles once for both.
class Texture {
public:
    explicit Texture(const Gl& gl) : gl_(gl) {
        gl_.GenTextures(1, &name_);
        bind();
        set(gl::kMinFilter, gl::kNearestMipmapNearest);
        set(gl::kMagFilter, gl::kNearest);
        set(gl::kWrapS, gl::kClampToEdge);
        set(gl::kWrapT, gl::kClampToEdge);
        set(gl::kMaxLevel, 0);
    }
    ~Texture() { gl_.DeleteTextures(1, &name_); }
    Texture(const Texture&) = delete;
    Texture& operator=(const Texture&) = delete;

    unsigned name() const { return name_; }
    void bind() const { gl_.BindTexture(gl::kTexture2D, name_); }
    /// Of the texture that is bound.
    void set(Enum parameter, int value) const {
        gl_.TexParameteri(gl::kTexture2D, parameter, value);
    }

private:
    const Gl& gl_;
    unsigned name_ = 0;
};

/// Bound, with the texture where its format belongs. For depth there is no color buffer.
class Framebuffer {
public:
    Framebuffer(const Gl& gl, const Format& format, const Texture& texture) : gl_(gl) {
        const Enum attachment = format.base == Base::kDepth          ? gl::kDepthAttachment
                                : format.base == Base::kDepthStencil ? gl::kDepthStencilAttachment
                                                                     : gl::kColorAttachment;
        const Enum buffer = format.is_depth() ? gl::kNone : gl::kColorAttachment;
        gl_.GenFramebuffers(1, &name_);
        gl_.BindFramebuffer(gl::kFramebuffer, name_);
        gl_.FramebufferTexture2D(gl::kFramebuffer, attachment, gl::kTexture2D, texture.name(), 0);
        gl_.DrawBuffers(1, &buffer);
        gl_.ReadBuffer(buffer);
    }
    ~Framebuffer() {
        gl_.BindFramebuffer(gl::kFramebuffer, 0);
        gl_.DeleteFramebuffers(1, &name_);
    }
    Framebuffer(const Framebuffer&) = delete;
    Framebuffer& operator=(const Framebuffer&) = delete;

    Enum status() const { return gl_.CheckFramebufferStatus(gl::kFramebuffer); }

private:
    const Gl& gl_;
    unsigned name_ = 0;
};

/// An offset in the bound buffer, as the pointer that OpenGL takes there.
inline void* place_in_buffer(std::size_t offset) {
    void* place = nullptr;
    std::memcpy(&place, &offset, sizeof place);
    return place;
}

/// A buffer for pixels, bound as `target`.
class PixelBuffer {
public:
    PixelBuffer(const Gl& gl, Enum target, const std::vector<unsigned char>& bytes)
        : gl_(gl), target_(target) {
        const bool isPacked = target == gl::kPixelPackBuffer;
        gl_.GenBuffers(1, &name_);
        gl_.BindBuffer(target, name_);
        gl_.BufferData(target, static_cast<std::ptrdiff_t>(bytes.size()), bytes.data(),
                       isPacked ? gl::kStreamRead : gl::kStreamDraw);
    }
    ~PixelBuffer() {
        gl_.BindBuffer(target_, 0);
        gl_.DeleteBuffers(1, &name_);
    }
    PixelBuffer(const PixelBuffer&) = delete;
    PixelBuffer& operator=(const PixelBuffer&) = delete;

    /// Its bytes; false if the driver does not give them.
    bool read(std::vector<unsigned char>* bytes) const {
        const auto size = static_cast<std::ptrdiff_t>(bytes->size());
        const void* const mapped = gl_.MapBufferRange(target_, 0, size, gl::kMapRead);
        if (!mapped) return false;
        std::memcpy(bytes->data(), mapped, bytes->size());
        return gl_.UnmapBuffer(target_) != 0;
    }

private:
    const Gl& gl_;
    const Enum target_;
    unsigned name_ = 0;
};

}  // namespace texprobe::survey

#endif
