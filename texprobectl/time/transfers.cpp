// Textures and buffers have the names and the layouts that the verdicts are about.

#include "time/transfers.h"

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>
#include <fmt/format.h>
#include <measuring/pattern.h>
#include <measuring/render_target.h>

#include <array>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <vector>

namespace texprobe::ctl {

namespace {

constexpr GLuint kFramebuffer = 1;
constexpr std::array<GLuint, kMostBuffers> kBuffers = {1, 2, 3};

void check_for_errors(const char* where) {
    const GLenum error = glGetError();
    if (error == GL_NO_ERROR) return;
    // A lost context reports errors for ever.
    for (int i = 0; i < 100 && glGetError() != GL_NO_ERROR;) ++i;
    throw std::runtime_error(fmt::format("OpenGL reported 0x{:04X} {}", error, where));
}

void* mapped(void* mapping) {
    if (!mapping) throw std::runtime_error("a buffer cannot be mapped");
    return mapping;
}

/// Shared by uploads and downloads: the texture, the buffers, and the application's memory.
class TextureStream {
public:
    TextureStream(const TimedTransfer& what, GLenum target)
        : what_(what), internalFormat_(kFormats[what.cell.format].internalFormat), target_(target) {
        GLint most = 0;
        glGetIntegerv(GL_MAX_TEXTURE_SIZE, &most);
        if (what.size.width > most || what.size.height > most) {
            throw std::runtime_error("this driver's textures end at " + std::to_string(most));
        }
        unsigned bytesPerPixel = 0;
        best_pixel_format(internalFormat_, &format_, &type_, &bytesPerPixel);
        source_.resize(what.bytes());
        sink_.resize(source_.size());
        test_fill_data(source_.data(), source_.size(), type_);
        for (const GLuint buffer : kBuffers) {
            glBindBuffer(target_, buffer);
            define_buffer();
            // Memory that is touched for the first time is slow, unlike memory in streaming.
            fill_buffer();
        }
        glBindBuffer(target_, 0);
    }
    virtual ~TextureStream() {
        if (target_ == GL_PIXEL_PACK_BUFFER) glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, 0);
        glDeleteBuffers(kMostBuffers, kBuffers.data());
        const std::array<GLuint, 2> textures = {kTestTexture, kTargetTexture};
        glDeleteTextures(static_cast<GLsizei>(textures.size()), textures.data());
        glFinish();
    }
    TextureStream(const TextureStream&) = delete;
    TextureStream& operator=(const TextureStream&) = delete;

    void stream(std::size_t buffers, std::size_t images) {
        glBindBuffer(target_, 0);
        transfer(buffers, images);
        glBindBuffer(target_, 0);
        check_for_errors("during the transfer");
    }

protected:
    std::size_t bytes() const { return source_.size(); }
    virtual void transfer(std::size_t buffers, std::size_t images) = 0;

    void define_buffer() const {
        glBufferData(target_, static_cast<GLsizeiptr>(bytes()), nullptr,
                     target_ == GL_PIXEL_UNPACK_BUFFER ? GL_STREAM_DRAW : GL_STREAM_READ);
    }
    void fill_buffer() const {
        std::memcpy(mapped(glMapBuffer(target_, GL_WRITE_ONLY)), source_.data(), bytes());
        glUnmapBuffer(target_);
    }
    void define_texture(GLuint texture, const void* pixels) const {
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        redefine_texture(pixels);
    }
    void redefine_texture(const void* pixels) const {
        glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(internalFormat_), what_.size.width,
                     what_.size.height, 0, format_, type_, pixels);
    }
    static void draw_point() {
        glBegin(GL_POINTS);
        glTexCoord2f(0.5f, 0.5f);
        glVertex2f(0.0f, 0.0f);
        glEnd();
    }

    const TimedTransfer what_;
    const GLenum internalFormat_;
    const GLenum target_;
    unsigned format_ = 0;
    unsigned type_ = 0;
    std::vector<unsigned char> source_;
    std::vector<unsigned char> sink_;
};

/// An image is in the application's memory, is copied into a mapped buffer and sent from there. One
/// point is drawn with each, so that the driver cannot leave out one that the next replaces, and
/// glFinish waits for the last.
class Upload : public TextureStream {
public:
    explicit Upload(const TimedTransfer& what) : TextureStream(what, GL_PIXEL_UNPACK_BUFFER) {
        // An application that sends sub-images defines its texture once; that is not timed.
        define_texture(kTestTexture, nullptr);
        glViewport(0, 0, kImageSize, kImageSize);
        glEnable(GL_TEXTURE_2D);
        check_for_errors("for a texture and buffers of this size");
    }

private:
    void transfer(std::size_t buffers, std::size_t images) override {
        for (std::size_t i = 0; i < images; ++i) {
            const void* pixels = source_.data();
            if (buffers > 0) {
                glBindBuffer(GL_PIXEL_UNPACK_BUFFER, kBuffers[i % buffers]);
                if (buffers == 1) define_buffer();
                fill_buffer();
                pixels = nullptr;
            }
            if (what_.cell.capability == kUploadReset) {
                redefine_texture(pixels);
            } else {
                glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, what_.size.width, what_.size.height,
                                format_, type_, pixels);
            }
            draw_point();
        }
        glFinish();
    }
};

/// One point is drawn into the image before each, so that the driver cannot reuse an earlier one.
/// The image is copied out of the mapped buffer: with one buffer at once, with three when the next
/// two are on their way.
class Download : public TextureStream {
public:
    explicit Download(const TimedTransfer& what) : TextureStream(what, GL_PIXEL_PACK_BUFFER) {
        define_texture(kTargetTexture, source_.data());
        glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, kFramebuffer);
        glFramebufferTexture2DEXT(GL_FRAMEBUFFER_EXT, GL_COLOR_ATTACHMENT0_EXT, GL_TEXTURE_2D,
                                  kTargetTexture, 0);
        glDrawBuffer(GL_COLOR_ATTACHMENT0_EXT);
        glReadBuffer(GL_COLOR_ATTACHMENT0_EXT);
        glViewport(0, 0, what.size.width, what.size.height);
        glDisable(GL_TEXTURE_2D);
        if (glCheckFramebufferStatusEXT(GL_FRAMEBUFFER_EXT) != GL_FRAMEBUFFER_COMPLETE_EXT) {
            throw std::runtime_error("a render target of this size is not complete");
        }
        check_for_errors("for a render target and buffers of this size");
    }

private:
    void transfer(std::size_t buffers, std::size_t images) override {
        for (std::size_t i = 0; i < images; ++i) {
            draw_point();
            if (buffers == 0) {
                fetch(sink_.data());
                continue;
            }
            glBindBuffer(GL_PIXEL_PACK_BUFFER, kBuffers[i % buffers]);
            fetch(nullptr);
            if (i + 1 >= buffers) take(kBuffers[(i + 1 - buffers) % buffers]);
        }
        // The images that are still on their way.
        for (std::size_t i = images + 1 - buffers; buffers > 0 && i < images; ++i) {
            take(kBuffers[i % buffers]);
        }
    }
    void fetch(void* pixels) const {
        if (what_.cell.capability == kDownloadGet) {
            glGetTexImage(GL_TEXTURE_2D, 0, format_, type_, pixels);
        } else {
            glReadPixels(0, 0, what_.size.width, what_.size.height, format_, type_, pixels);
        }
    }
    void take(GLuint buffer) {
        glBindBuffer(GL_PIXEL_PACK_BUFFER, buffer);
        std::memcpy(sink_.data(), mapped(glMapBuffer(GL_PIXEL_PACK_BUFFER, GL_READ_ONLY)), bytes());
        glUnmapBuffer(GL_PIXEL_PACK_BUFFER);
    }
};

}  // namespace

StreamImages make_transfer(const TimedTransfer& what) {
    std::shared_ptr<TextureStream> stream;
    if (is_upload(what.cell.capability))
        stream = std::make_shared<Upload>(what);
    else
        stream = std::make_shared<Download>(what);
    return [stream](std::size_t buffers, std::size_t images) { stream->stream(buffers, images); };
}

}  // namespace texprobe::ctl
