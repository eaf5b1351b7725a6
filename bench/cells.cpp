#include "cells.h"

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <numeric>

#include "measuring/distance.h"
#include "measuring/pattern.h"
#include "opencv_distance.h"
#include "support/formats.h"

namespace texprobe::bench {

namespace {

using Image = std::shared_ptr<std::vector<std::uint8_t>>;

/// A format's name without OpenGL's prefix and suffix.
std::string short_name(std::string name) {
    name.erase(0, sizeof("GL_") - 1);
    return name.substr(0, name.find("_ARB"));
}

/// An image with one extra element, which the luminance-alpha comparison reads.
Image make_image(const Layout& layout) {
    return std::make_shared<std::vector<std::uint8_t>>(kImagePixels * layout.bytesPerPixel + 16);
}

Image make_pattern(const Layout& layout) {
    const Image image = make_image(layout);
    test_fill_data(image->data(), kImagePixels * layout.bytesPerPixel, layout.type);
    return image;
}

int element_on_8bit_scale(const std::vector<std::uint8_t>& image, unsigned type, std::size_t i) {
    const auto element = [&](auto value) {
        std::memcpy(&value, image.data() + i * sizeof value, sizeof value);
        return to_8bit(value);
    };
    switch (type) {
        case GL_UNSIGNED_SHORT:
            return element(std::uint16_t{});
        case GL_FLOAT:
            return element(float{});
        case GL_HALF_FLOAT_ARB:
            return element(QORFloat16{});
        default:
            return image[i];
    }
}

/// Where the red, green, blue and alpha of a layout are; -1: none, it is opaque.
std::array<int, 5> elements_of_rgba(unsigned format) {
    switch (format) {
        case GL_LUMINANCE:
            return {0, 0, 0, -1, 1};
        case GL_LUMINANCE_ALPHA:
            return {0, 0, 0, 1, 2};
        case GL_RGB:
            return {0, 1, 2, -1, 3};
        case GL_BGR:
            return {2, 1, 0, -1, 3};
        case GL_BGRA:
            return {2, 1, 0, 3, 4};
        default:
            return {0, 1, 2, 3, 4};
    }
}

/// What a correct renderer draws from the pattern, off by one in every seventh element.
Image draw(const std::vector<std::uint8_t>& pattern, const Layout& layout) {
    const Image frame = make_image({GL_RGBA, GL_UNSIGNED_BYTE, 4});
    const auto elements = elements_of_rgba(layout.format);
    for (std::size_t p = 0; p < kImagePixels; ++p) {
        for (std::size_t c = 0; c < 4; ++c) {
            int value = 255;
            if (elements[c] >= 0) {
                const std::size_t i = p * static_cast<std::size_t>(elements[4]) +
                                      static_cast<std::size_t>(elements[c]);
                value = element_on_8bit_scale(pattern, layout.type, i);
                if (i % 7 == 0 && value > 0) --value;
            }
            (*frame)[4 * p + c] = static_cast<std::uint8_t>(value);
        }
    }
    return frame;
}

std::uint64_t sum_of_bytes(const std::vector<std::uint8_t>& image, std::size_t size) {
    return std::accumulate(image.data(), image.data() + size, 0u);
}

/// Two pairs that OpenCV has no operation for: luminance-alpha's alpha against the next pixel, and
/// BGRA shorts in reverse. OpenCV gets the nearest operation that it is fast at.
bool is_paired_otherwise(const Cell& cell) {
    return cell.isDownload ? cell.source.format == GL_LUMINANCE_ALPHA
                           : cell.source.format == GL_BGRA && cell.source.type == GL_UNSIGNED_SHORT;
}

bool is_8bit(unsigned type) {
    return type == GL_UNSIGNED_BYTE || type == GL_UNSIGNED_INT_8_8_8_8_REV;
}

/// Ends the program unless both give the same result. Only 8-bit images need no conversion;
/// OpenCV's rounds where the kernel truncates, which is at most 2 squared per element.
void expect_same_job(const Cell& cell, std::uint64_t channels) {
    if (!cell.opencv || is_paired_otherwise(cell)) return;
    const std::uint64_t kernel = cell.kernel();
    const std::uint64_t opencv = cell.opencv() / channels;
    const std::uint64_t tolerance = is_8bit(cell.source.type) ? 0 : 4 * kImagePixels;
    if (opencv > kernel + tolerance || kernel > opencv + tolerance) {
        std::fprintf(stderr, "%s: the kernel's distance is %llu, OpenCV's is %llu\n",
                     cell.name.c_str(), static_cast<unsigned long long>(kernel),
                     static_cast<unsigned long long>(opencv));
        std::exit(1);
    }
}

Cell make_cell(const std::string& name, const Layout& source, const Image& pattern,
               const Layout& readLayout, const Image& readBack) {
    const std::size_t sourceSize = kImagePixels * source.bytesPerPixel;
    const std::size_t readSize = kImagePixels * readLayout.bytesPerPixel;
    Cell cell;
    cell.name = name;
    cell.source = source;
    cell.readBack = readLayout;
    cell.isDownload = source.format == readLayout.format && source.type == readLayout.type;
    cell.bytes = sourceSize + readSize;
    cell.kernel = [=] {
        return distance_data_switch(pattern->data(), source.format, source.type, readBack->data(),
                                    readLayout.format, readLayout.type, kImagePixels);
    };
    cell.summing = [=] {
        return sum_of_bytes(*pattern, sourceSize) + sum_of_bytes(*readBack, readSize);
    };
    cell.opencv = make_opencv_distance(source, pattern->data(), readLayout, readBack->data());
    return cell;
}

/// A frame has separate red, green and blue for one luminance.
std::uint64_t compared_channels(unsigned format, bool isDownload) {
    switch (format) {
        case GL_LUMINANCE:
            return isDownload ? 1 : 3;
        case GL_LUMINANCE_ALPHA:
            return isDownload ? 2 : 4;
        default:
            return format == GL_RGB || format == GL_BGR ? 3 : 4;
    }
}

}  // namespace

std::vector<Cell> make_cells() {
    const Layout frame{GL_RGBA, GL_UNSIGNED_BYTE, 4};
    std::vector<Cell> cells;
    for (const tests::Format& format : tests::kFormats) {
        Layout layout{};
        if (!best_pixel_format(format.internalFormat, &layout.format, &layout.type,
                               &layout.bytesPerPixel)) {
            std::abort();
        }
        const Image pattern = make_pattern(layout);
        const std::string name = short_name(format.name);
        cells.push_back(
            make_cell(name + "/upload", layout, pattern, frame, draw(*pattern, layout)));
        expect_same_job(cells.back(), compared_channels(layout.format, false));
        const Image copy = std::make_shared<std::vector<std::uint8_t>>(*pattern);
        cells.push_back(make_cell(name + "/download", layout, pattern, layout, copy));
        expect_same_job(cells.back(), compared_channels(layout.format, true));
    }
    return cells;
}

}  // namespace texprobe::bench
