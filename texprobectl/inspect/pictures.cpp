#include "inspect/pictures.h"

#include <fmt/format.h>
#include <png.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <stdexcept>

#include "inspect/gl_names.h"
#include "inspect/inspected_use.h"
#include "process/output_file.h"

namespace texprobe::ctl {

namespace {

std::uint8_t to_byte(double value) {
    if (std::isnan(value)) return 0;
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
}

std::string encode(const std::vector<std::uint8_t>& bytes, png_uint_32 format,
                   std::size_t width = kColumns, std::size_t height = kRows) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = format;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::string file(size, 0);
    if (png_image_write_to_memory(&image, file.data(), &size, 0, bytes.data(), 0, nullptr) == 0) {
        throw std::runtime_error(std::string("cannot make a picture: ") + image.message);
    }
    file.resize(size);
    return file;
}

/// Luminance as grey; alpha where the image has one.
std::string encode_image(const Planes& planes) {
    std::vector<const Plane*> sources;
    for (const Channel channel : {Channel::kRed, Channel::kGreen, Channel::kBlue}) {
        const Plane* plane = planes.find(channel);
        sources.push_back(plane ? plane : planes.find(Channel::kLuminance));
    }
    const Plane* alpha = planes.find(Channel::kAlpha);
    if (alpha) sources.push_back(alpha);
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < kPixels; ++i) {
        for (const Plane* plane : sources) bytes.push_back(to_byte((*plane)[i]));
    }
    return encode(bytes, alpha ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB);
}

double difference_at(const Plane* a, const Plane* b, std::size_t i) {
    const double difference = a && b ? std::abs((*a)[i] - (*b)[i]) : 0.0;
    return std::isfinite(difference) ? difference : 1.0;
}

/// Red, green and blue of each pixel.
std::vector<double> find_differences(const Planes& expected, const Planes& returned) {
    const auto of = [&](Channel channel, std::size_t i) {
        return difference_at(expected.find(channel), returned.find(channel), i);
    };
    std::vector<double> differences;
    for (std::size_t i = 0; i < kPixels; ++i) {
        const double all = std::max(of(Channel::kLuminance, i), of(Channel::kAlpha, i));
        for (const Channel channel : {Channel::kRed, Channel::kGreen, Channel::kBlue}) {
            differences.push_back(std::max(all, of(channel, i)));
        }
    }
    return differences;
}

std::string describe_layout(const Image& image) {
    const auto channels = channels_in_memory(image.layout);
    std::string names;
    for (const Channel channel : *channels) {
        names += (names.empty() ? "" : ", ") + std::string(name_of(channel));
    }
    return fmt::format("{} {}: {} bytes a pixel; {}", gl_name(image.layout.format),
                       gl_name(image.layout.type), bytes_per_pixel(image.layout), names);
}

std::string describe_files(const Inspection& inspection, const Pictures& pictures) {
    const Evidence& evidence = *inspection.evidence;
    return fmt::format(
        "{} {}\n"
        "{}\n"
        "{}\n"
        "{}\n\n"
        "sent.raw      {}\n"
        "returned.raw  {}\n\n"
        "128 rows of 128 pixels, without gaps, the first row first; OpenGL draws that one\n"
        "lowest. Elements are in this machine's byte order.\n\n"
        "The pictures have 8 bits a channel and the first row on top. difference.png is\n"
        "the distance of returned.png from the image that OpenGL defines for sent.png,\n"
        "multiplied by {:g}; the difference of alpha is in all three colours.\n",
        kFormats[inspection.cell.format].name, kCapabilities[inspection.cell.capability].words,
        inspection.renderer, inspection.id, inspection.sentence, describe_layout(evidence.sent),
        describe_layout(evidence.returned), pictures.amplification);
}

void make_folder(const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directory(folder, error);
    if (error) {
        throw std::runtime_error("cannot make the folder " + folder + ": " + error.message());
    }
}

/// The expected values of all texels; those between 0 and 1 are drawn as they are.
struct Range {
    double least = 0.0;
    double most = 1.0;
};

Range range_of(const ComparedTexels& texels) {
    Range range;
    for (const ComparedTexels::Pair& pair : texels.pairs) {
        for (std::size_t c = 0; c < texels.components; ++c) {
            if (!std::isfinite(pair.expected[c])) continue;
            range.least = std::min(range.least, pair.expected[c]);
            range.most = std::max(range.most, pair.expected[c]);
        }
    }
    return range;
}

/// Red, green and blue of each texel by `value(pair, component)`; depth as grey.
template <class Value>
std::string encode_texels(const ComparedTexels& texels, Value value) {
    std::vector<std::uint8_t> bytes;
    for (const ComparedTexels::Pair& pair : texels.pairs) {
        for (std::size_t c = 0; c < 3; ++c) {
            bytes.push_back(to_byte(value(pair, std::min(c, texels.components - 1))));
        }
    }
    return encode(bytes, PNG_FORMAT_RGB, texels.width, texels.height());
}

double wrong_by(const ComparedTexels::Pair& pair, std::size_t component) {
    if (!pair.isWrong) return 0.0;
    const double error = std::abs(pair.came[component] - pair.expected[component]);
    return std::isfinite(error) ? error : HUGE_VAL;
}

std::string describe_texels(const UseInspection& inspection, const Range& range, double largest) {
    const ComparedTexels& texels = *inspection.texels;
    const std::string& reason = inspection.now->text;
    std::string text = fmt::format(
        "{} on {}\n{}\n{}{}{}\n\n"
        "{} x {} texels, the first row on top. In expected.png and came.png {:g} is black and {:g} "
        "white; alpha\nis not drawn. difference.png has the wrong texels' differences, alpha's in "
        "all colours; {:g} is as bright\nas can be.\n\nx y, wrong, expected, came\n",
        words_of(inspection.cell), inspection.renderer, inspection.id,
        name_of(inspection.now->verdict), reason.empty() ? "" : ": ", reason, texels.width,
        texels.height(), range.least, range.most, largest);
    for (std::size_t i = 0; i < texels.pairs.size(); ++i) {
        const auto& [expected, came, isWrong] = texels.pairs[i];
        text += fmt::format("{} {}, {},", i % texels.width, i / texels.width, int{isWrong});
        for (std::size_t c = 0; c < texels.components; ++c) {
            text += fmt::format(" {:.9g}", expected[c]);
        }
        text += ',';
        for (std::size_t c = 0; c < texels.components; ++c) text += fmt::format(" {:.9g}", came[c]);
        text += '\n';
    }
    return text;
}

/// Writes files into the folder, by name.
void write_files(const std::string& folder,
                 const std::vector<std::pair<const char*, std::string>>& files) {
    make_folder(folder);
    for (const auto& [name, bytes] : files) {
        write_output(std::filesystem::path(folder) / name,
                     [&text = bytes](std::ostream& stream) { stream << text; });
    }
}

}  // namespace

Pictures draw_pictures(const Evidence& evidence) {
    const Planes sent = decode(evidence.sent);
    const Planes returned = decode(evidence.returned);
    std::vector<double> differences =
        find_differences(expected_in(evidence.returned.layout, sent), returned);
    Pictures pictures;
    const double largest = *std::max_element(differences.begin(), differences.end());
    if (largest > 0.0 && largest < 1.0) pictures.amplification = 1.0 / largest;
    std::vector<std::uint8_t> bytes(differences.size());
    std::transform(differences.begin(), differences.end(), bytes.begin(),
                   [&](double difference) { return to_byte(difference * pictures.amplification); });
    pictures.sent = encode_image(sent);
    pictures.returned = encode_image(returned);
    pictures.difference = encode(bytes, PNG_FORMAT_RGB);
    return pictures;
}

void write_pictures(const Inspection& inspection, const std::string& folder) {
    const Pictures pictures = draw_pictures(*inspection.evidence);
    const auto text = [](const Image& image) {
        return std::string(image.bytes.begin(), image.bytes.end());
    };
    write_files(folder, {{"sent.png", pictures.sent},
                         {"returned.png", pictures.returned},
                         {"difference.png", pictures.difference},
                         {"sent.raw", text(inspection.evidence->sent)},
                         {"returned.raw", text(inspection.evidence->returned)},
                         {"layout.txt", describe_files(inspection, pictures)}});
}

void write_pictures(const UseInspection& inspection, const std::string& folder) {
    const ComparedTexels& texels = *inspection.texels;
    const Range range = range_of(texels);
    const auto within = [&](double value) {
        return (value - range.least) / (range.most - range.least);
    };
    double largest = 0.0;
    for (const ComparedTexels::Pair& pair : texels.pairs) {
        for (std::size_t c = 0; c < texels.components; ++c) {
            const double error = wrong_by(pair, c);
            if (std::isfinite(error)) largest = std::max(largest, error);
        }
    }
    const double brightest = largest > 0.0 ? largest : 1.0;
    using Pair = ComparedTexels::Pair;
    const auto expected = [&](const Pair& pair, std::size_t c) { return within(pair.expected[c]); };
    const auto came = [&](const Pair& pair, std::size_t c) { return within(pair.came[c]); };
    const auto difference = [&](const Pair& pair, std::size_t c) {
        const double alpha = texels.components == 4 ? wrong_by(pair, 3) : 0.0;
        return std::max(wrong_by(pair, c), alpha) / brightest;
    };
    write_files(folder, {{"expected.png", encode_texels(texels, expected)},
                         {"came.png", encode_texels(texels, came)},
                         {"difference.png", encode_texels(texels, difference)},
                         {"texels.txt", describe_texels(inspection, range, brightest)}});
}

}  // namespace texprobe::ctl
