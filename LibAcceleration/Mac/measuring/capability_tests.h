// The measurement: the six tests of one texture format.
//
// Runs on the thread whose current context is the renderer's offscreen one, with the render target
// set up. OpenGL errors are never queried: only what can be observed decides. A null mapping or a
// failed allocation crashes, which costs that one test.

#ifndef TEXPROBE_CAPABILITY_TESTS_H
#define TEXPROBE_CAPABILITY_TESTS_H

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "measuring/distance.h"
#include "measuring/pattern.h"
#include "measuring/render_target.h"
#include "records/formats.h"

namespace texprobe {

namespace {

constexpr GLuint kUnpackBuffer = 1;
constexpr GLuint kPackBuffer = 2;

/// How a texture format travels between client and renderer.
struct Transfer {
    unsigned format;
    unsigned type;
    unsigned bytesPerPixel;

    std::size_t size() const { return static_cast<std::size_t>(bytesPerPixel) << 14; }
};

struct FreeBlock {
    void operator()(void* block) const { std::free(block); }
};
using Block = std::unique_ptr<void, FreeBlock>;

/// Is the distance small enough, on a scale where 2^28 scores 0 and at least 0.99 is a match?
/// Prints the score.
inline bool test_check_data(unsigned long long distance) {
    constexpr unsigned long long kScale = 268435456;  // 2^28, for every format alike.
    const double score = static_cast<double>(distance) * (-1.0 / kScale) + 1.0;
    const bool match = score >= 0.99;
    std::fprintf(stderr, "test_check_data score: %g%% (dist: %llu size: %llu) match: %d\n",
                 score * 100.0, distance, kScale, match);
    return match;
}

/// The format that the driver chose for the bound texture; 0 if it reports none.
inline GLenum internal_format_of_bound_texture() {
    GLint value = 0;
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, &value);
    return static_cast<GLenum>(value);
}

/// Defines a texture without data. The source is signed luminance bytes for every format, because
/// only the internal format that the driver chooses matters.
inline void define_empty_texture(GLuint texture, GLenum internalFormat) {
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(internalFormat), kImageSize, kImageSize, 0,
                 GL_LUMINANCE, GL_BYTE, nullptr);
}

inline void bind_test_texture() {
    glBindTexture(GL_TEXTURE_2D, kTestTexture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
}

/// Defines the bound texture from `pixels`: client memory, or an offset into a bound unpack buffer.
inline void define_texture(GLenum internalFormat, const Transfer& transfer, const void* pixels) {
    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(internalFormat), kImageSize, kImageSize, 0,
                 transfer.format, transfer.type, pixels);
}

/// Fills the unpack buffer with the pattern and leaves it bound.
inline void fill_unpack_buffer(const Transfer& transfer) {
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, kUnpackBuffer);
    glBufferData(GL_PIXEL_UNPACK_BUFFER, static_cast<GLsizeiptr>(transfer.size()), nullptr,
                 GL_STREAM_DRAW);
    void* mapping = glMapBuffer(GL_PIXEL_UNPACK_BUFFER, GL_WRITE_ONLY);
    test_fill_data(mapping, transfer.size(), transfer.type);
    glUnmapBuffer(GL_PIXEL_UNPACK_BUFFER);
}

/// Draws the uploaded texture into an 8-bit target and compares that with the unpack buffer.
inline bool drawn_texture_matches_unpack_buffer(const Transfer& transfer) {
    texture_render(GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE);
    glFinish();

    const Block frame(std::calloc(1, kImagePixels * 4));
    glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    glReadPixels(0, 0, kImageSize, kImageSize, GL_RGBA, GL_UNSIGNED_BYTE, frame.get());

    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, kUnpackBuffer);
    const void* pattern = glMapBuffer(GL_PIXEL_UNPACK_BUFFER, GL_READ_ONLY);
    const bool match =
        test_check_data(distance_data_switch(pattern, transfer.format, transfer.type, frame.get(),
                                             GL_RGBA, GL_UNSIGNED_BYTE, kImagePixels));
    glUnmapBuffer(GL_PIXEL_UNPACK_BUFFER);
    return match;
}

/// The distance of a download from the pattern. For luminance-alpha, the comparison reads one
/// element past the read-back, where the mapping ends; so it gets a copy followed by a zero.
inline unsigned long long download_distance(const void* pattern, const void* mapping,
                                            const Transfer& transfer) {
    const void* readBack = mapping;
    Block padded;
    if (transfer.format == GL_LUMINANCE_ALPHA) {
        padded.reset(std::calloc(1, transfer.size() + transfer.bytesPerPixel));
        std::memcpy(padded.get(), mapping, transfer.size());
        readBack = padded.get();
    }
    return distance_data_switch(pattern, transfer.format, transfer.type, readBack, transfer.format,
                                transfer.type, kImagePixels);
}

/// Draws the pattern into a target of the format under test, fetches the target's pixels into the
/// pack buffer with `fetch(transfer)`, and compares them with the pattern.
template <typename Fetch>
bool downloaded_target_matches_pattern(GLenum internalFormat, const Transfer& transfer,
                                       Fetch fetch) {
    const Block pattern(std::malloc(transfer.size()));
    test_fill_data(pattern.get(), transfer.size(), transfer.type);
    bind_test_texture();
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    define_texture(internalFormat, transfer, pattern.get());
    texture_render(internalFormat, transfer.format, transfer.type);

    glBindTexture(GL_TEXTURE_2D, kTargetTexture);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, kPackBuffer);
    glBufferData(GL_PIXEL_PACK_BUFFER, static_cast<GLsizeiptr>(transfer.size()), nullptr,
                 GL_STREAM_READ);
    fetch(transfer);
    const void* mapping = glMapBuffer(GL_PIXEL_PACK_BUFFER, GL_READ_ONLY);
    const bool match = test_check_data(download_distance(pattern.get(), mapping, transfer));
    glUnmapBuffer(GL_PIXEL_PACK_BUFFER);
    return match;
}

// The six tests. Each returns its verdict.

inline bool test_supported(GLenum internalFormat) {
    define_empty_texture(kTestTexture, internalFormat);
    return internal_format_of_bound_texture() == internalFormat;
}

inline bool test_renderable(GLenum internalFormat) {
    if (!__hasFBO) return false;
    define_empty_texture(kTargetTexture, internalFormat);
    return glCheckFramebufferStatusEXT(GL_FRAMEBUFFER_EXT) == GL_FRAMEBUFFER_COMPLETE_EXT &&
           internal_format_of_bound_texture() == internalFormat;
}

inline bool choose_transfer(GLenum internalFormat, Transfer* transfer) {
    return best_pixel_format(internalFormat, &transfer->format, &transfer->type,
                             &transfer->bytesPerPixel);
}

inline bool test_upload_set(GLenum internalFormat) {
    Transfer transfer;
    if (!__hasPBO || !choose_transfer(internalFormat, &transfer)) return false;
    bind_test_texture();
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    define_texture(internalFormat, transfer, nullptr);
    fill_unpack_buffer(transfer);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, kImageSize, kImageSize, transfer.format, transfer.type,
                    nullptr);
    glFlush();
    return drawn_texture_matches_unpack_buffer(transfer);
}

inline bool test_upload_reset(GLenum internalFormat) {
    Transfer transfer;
    if (!__hasPBO || !choose_transfer(internalFormat, &transfer)) return false;
    fill_unpack_buffer(transfer);
    bind_test_texture();
    define_texture(internalFormat, transfer, nullptr);
    glFlush();
    return drawn_texture_matches_unpack_buffer(transfer);
}

inline bool test_download_get(GLenum internalFormat) {
    Transfer transfer;
    if (!__hasPBO || !__hasFBO || !choose_transfer(internalFormat, &transfer)) return false;
    return downloaded_target_matches_pattern(internalFormat, transfer, [](const Transfer& t) {
        glGetTexImage(GL_TEXTURE_2D, 0, t.format, t.type, nullptr);
    });
}

inline bool test_download_read(GLenum internalFormat) {
    Transfer transfer;
    if (!__hasPBO || !__hasFBO || !choose_transfer(internalFormat, &transfer)) return false;
    return downloaded_target_matches_pattern(internalFormat, transfer, [](const Transfer& t) {
        glReadPixels(0, 0, kImageSize, kImageSize, t.format, t.type, nullptr);
    });
}

/// One capability's test, and what the tool prints before it.
struct CapabilityTest {
    Capability capability;
    bool (*run)(GLenum internalFormat);
    const char* announcement;  // Null: none.
};

constexpr CapabilityTest kCapabilityTests[] = {
    {kSupported, test_supported, nullptr},
    {kRenderable, test_renderable, nullptr},
    {kUploadSet, test_upload_set, "Testing UPLOAD SET...\n"},
    {kUploadReset, test_upload_reset, "Testing UPLOAD RESET...\n"},
    {kDownloadGet, test_download_get, nullptr},
    {kDownloadRead, test_download_read, nullptr},
};

/// Calls `verdictOf(test, applies)` for each of one format's tests in order. A test applies if
/// the capability that it needs is a yes.
template <typename VerdictOf>
void for_each_test(VerdictOf verdictOf) {
    bool verdicts[kCapabilityCount] = {};
    for (const CapabilityTest& test : kCapabilityTests) {
        const Capability needed = kCapabilityRows[test.capability].precondition;
        const bool applies = needed == test.capability || verdicts[needed];
        verdicts[test.capability] = verdictOf(test, applies);
    }
}

}  // namespace

}  // namespace texprobe

#endif
