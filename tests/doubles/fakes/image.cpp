// Pixels: buffer memory that ends at a guard page, and conversion to bytes.

#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "fakes.h"

namespace fakes {

namespace {

constexpr std::size_t kPixels = std::size_t{128} * 128;

/// The channels, from 0 for red to 3 for alpha, of a pixel's elements in memory order.
std::vector<unsigned> channels(GLenum format) {
    switch (format) {
        case GL_RGB:
            return {0, 1, 2};
        case GL_RGBA:
            return {0, 1, 2, 3};
        case GL_BGR:
            return {2, 1, 0};
        case GL_BGRA:
            return {2, 1, 0, 3};
        case GL_LUMINANCE:
            return {0};
        case GL_LUMINANCE_ALPHA:
            return {0, 3};
        default:
            return {};
    }
}

std::size_t element_size(GLenum type) {
    switch (type) {
        case GL_FLOAT:
            return 4;
        case GL_UNSIGNED_SHORT:
        case GL_HALF_FLOAT_ARB:
            return 2;
        default:
            return 1;
    }
}

unsigned char to_byte(float value) {
    const float scaled = value * 255.0f + 0.5f;
    return static_cast<unsigned char>(scaled < 0.0f ? 0.0f : scaled > 255.0f ? 255.0f : scaled);
}

float half_value(std::uint16_t half) {
    const int exponent = (half >> 10) & 31;
    const int mantissa = half & 1023;
    const float magnitude = exponent == 0
                                ? std::ldexp(static_cast<float>(mantissa), -24)
                                : std::ldexp(static_cast<float>(mantissa + 1024), exponent - 25);
    return half & 0x8000 ? -magnitude : magnitude;
}

template <typename Element>
Element element_at(const unsigned char* data) {
    Element element;
    std::memcpy(&element, data, sizeof element);
    return element;
}

unsigned char byte_at(const unsigned char* data, GLenum type) {
    switch (type) {
        case GL_FLOAT:
            return to_byte(element_at<float>(data));
        case GL_HALF_FLOAT_ARB:
            return to_byte(half_value(element_at<std::uint16_t>(data)));
        case GL_UNSIGNED_SHORT:
            return to_byte(static_cast<float>(element_at<std::uint16_t>(data)) / 65535.0f);
        default:
            return *data;
    }
}

}  // namespace

std::shared_ptr<unsigned char> guarded_memory(std::size_t size) {
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t used = (size + page - 1) / page * page;
    const std::size_t length = used + page;
    // cppcheck-suppress invalidFunctionArg  // No file.
    void* pages = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) std::abort();
    unsigned char* const end = static_cast<unsigned char*>(pages) + used;
    mprotect(end, page, PROT_NONE);
    return {end - size, [=](unsigned char*) { munmap(pages, length); }};
}

std::size_t bytes_per_pixel(GLenum format, GLenum type) {
    return channels(format).size() * element_size(type);
}

std::vector<unsigned char> rgba_bytes(const Image& image) {
    std::vector<unsigned char> bytes(kPixels * 4, 0);
    if (image.pixels.empty()) return bytes;
    const std::vector<unsigned> order = channels(image.format);
    const std::size_t step = element_size(image.type);
    const bool luminance = order.size() <= 2;
    const unsigned char* element = image.pixels.data();
    for (std::size_t p = 0; p < kPixels; ++p) {
        unsigned char* pixel = &bytes[4 * p];
        pixel[3] = 255;
        for (const unsigned channel : order) {
            pixel[channel] = byte_at(element, image.type);
            element += step;
        }
        if (luminance) pixel[1] = pixel[2] = pixel[0];
    }
    return bytes;
}

}  // namespace fakes
