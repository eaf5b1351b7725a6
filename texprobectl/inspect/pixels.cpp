#include "inspect/pixels.h"

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>

namespace texprobe::ctl {

std::size_t element_size(unsigned type) {
    switch (type) {
        case GL_UNSIGNED_BYTE:
            return 1;
        case GL_UNSIGNED_SHORT:
        case GL_HALF_FLOAT_ARB:
            return 2;
        case GL_FLOAT:
        case GL_UNSIGNED_INT_8_8_8_8_REV:
            return 4;
        default:
            return 0;
    }
}

namespace {

bool is_packed(unsigned type) {
    return type == GL_UNSIGNED_INT_8_8_8_8_REV;
}

template <class Element>
Element element_at(const std::uint8_t* bytes) {
    Element element;
    std::memcpy(&element, bytes, sizeof element);
    return element;
}

double half_value(std::uint16_t bits) {
    const int exponent = (bits >> 10) & 31;
    const int mantissa = bits & 1023;
    double magnitude =
        std::ldexp(mantissa + (exponent == 0 ? 0 : 1024), (exponent == 0 ? 1 : exponent) - 25);
    if (exponent == 31) magnitude = mantissa == 0 ? HUGE_VAL : std::nan("");
    return (bits & 0x8000) != 0 ? -magnitude : magnitude;
}

/// Element `index` of a pixel.
double value_at(const std::uint8_t* pixel, std::size_t index, unsigned type) {
    switch (type) {
        case GL_UNSIGNED_BYTE:
            return pixel[index] / 255.0;
        case GL_UNSIGNED_SHORT:
            return element_at<std::uint16_t>(pixel + 2 * index) / 65535.0;
        case GL_HALF_FLOAT_ARB:
            return half_value(element_at<std::uint16_t>(pixel + 2 * index));
        case GL_FLOAT:
            return static_cast<double>(element_at<float>(pixel + 4 * index));
        default:
            // The first element is in the word's lowest bits.
            return ((element_at<std::uint32_t>(pixel) >> (8 * index)) & 255) / 255.0;
    }
}

std::vector<Channel> in_true_order(std::vector<Channel> channels) {
    std::sort(channels.begin(), channels.end());
    // Luminance stands before alpha.
    if (channels.back() == Channel::kLuminance) {
        std::rotate(channels.begin(), channels.end() - 1, channels.end());
    }
    return channels;
}

}  // namespace

const char* name_of(Channel channel) {
    switch (channel) {
        case Channel::kRed:
            return "red";
        case Channel::kGreen:
            return "green";
        case Channel::kBlue:
            return "blue";
        case Channel::kAlpha:
            return "alpha";
        default:
            return "luminance";
    }
}

std::optional<std::vector<Channel>> channels_in_memory(const Layout& layout) {
    if (element_size(layout.type) == 0) return std::nullopt;
    const Channel red = Channel::kRed;
    const Channel green = Channel::kGreen;
    const Channel blue = Channel::kBlue;
    const Channel alpha = Channel::kAlpha;
    switch (layout.format) {
        case GL_LUMINANCE:
            return std::vector{Channel::kLuminance};
        case GL_LUMINANCE_ALPHA:
            return std::vector{Channel::kLuminance, alpha};
        case GL_RGB:
            return std::vector{red, green, blue};
        case GL_BGR:
            return std::vector{blue, green, red};
        case GL_RGBA:
            return std::vector{red, green, blue, alpha};
        case GL_BGRA:
            return std::vector{blue, green, red, alpha};
        default:
            return std::nullopt;
    }
}

std::size_t bytes_per_pixel(const Layout& layout) {
    const auto channels = channels_in_memory(layout);
    if (!channels) return 0;
    return element_size(layout.type) * (is_packed(layout.type) ? 1 : channels->size());
}

std::optional<unsigned> steps_of(const Layout& layout) {
    if (layout.type == GL_UNSIGNED_SHORT) return 65535;
    if (layout.type == GL_UNSIGNED_BYTE || is_packed(layout.type)) return 255;
    return std::nullopt;
}

const Plane* Planes::find(Channel channel) const {
    const auto found = std::find(channels.begin(), channels.end(), channel);
    return found == channels.end() ? nullptr : &values[std::size_t(found - channels.begin())];
}

Planes decode(const Image& image, std::size_t pixels) {
    const auto inMemory = channels_in_memory(image.layout);
    if (!inMemory) throw std::invalid_argument("the layout of an image is not known");
    const std::size_t size = bytes_per_pixel(image.layout);
    if (image.bytes.size() < size * pixels) throw std::invalid_argument("an image is too short");
    Planes planes;
    planes.channels = in_true_order(*inMemory);
    for (const Channel channel : planes.channels) {
        const auto place = std::find(inMemory->begin(), inMemory->end(), channel);
        const auto index = static_cast<std::size_t>(place - inMemory->begin());
        Plane plane(pixels);
        for (std::size_t i = 0; i < pixels; ++i) {
            plane[i] = value_at(image.bytes.data() + i * size, index, image.layout.type);
        }
        planes.values.push_back(std::move(plane));
    }
    return planes;
}

Planes exact_in(const Layout& layout, const Planes& sent) {
    Planes expected;
    expected.channels = in_true_order(channels_in_memory(layout).value());
    for (const Channel channel : expected.channels) {
        const Plane* source = sent.find(channel);
        if (!source && channel != Channel::kAlpha) source = sent.find(Channel::kLuminance);
        // Luminance is read from a colour by its red, which a luminance target keeps.
        if (!source && channel == Channel::kLuminance) source = sent.find(Channel::kRed);
        expected.values.push_back(source ? *source : Plane(sent.values.front().size(), 1.0));
    }
    return expected;
}

Planes expected_in(const Layout& layout, const Planes& sent) {
    Planes expected = exact_in(layout, sent);
    const auto steps = steps_of(layout);
    if (!steps) return expected;
    for (Plane& plane : expected.values) {
        for (double& value : plane) {
            value = std::nearbyint(std::clamp(value, 0.0, 1.0) * *steps) / *steps;
        }
    }
    return expected;
}

}  // namespace texprobe::ctl
