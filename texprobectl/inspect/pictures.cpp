#include "inspect/pictures.h"

#include <fmt/format.h>
#include <png.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <stdexcept>

#include "inspect/gl_names.h"
#include "process/output_file.h"

namespace texprobe::ctl {

namespace {

std::uint8_t to_byte(double value) {
    if (std::isnan(value)) return 0;
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
}

std::string encode(const std::vector<std::uint8_t>& bytes, png_uint_32 format) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = kColumns;
    image.height = kRows;
    image.format = format;
    png_alloc_size_t size = 0;
    std::string file;
    for (int pass = 0; pass < 2; ++pass) {
        // The first pass asks for the size.
        file.resize(size);
        if (png_image_write_to_memory(&image, pass == 0 ? nullptr : file.data(), &size, 0,
                                      bytes.data(), 0, nullptr) == 0) {
            throw std::runtime_error(std::string("cannot make a picture: ") + image.message);
        }
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
    if (std::filesystem::is_directory(folder, error)) return;
    error.clear();
    std::filesystem::create_directory(folder, error);
    if (error)
        throw std::runtime_error("cannot make the folder " + folder + ": " + error.message());
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
    make_folder(folder);
    const auto write = [&](const char* name, const std::string& bytes) {
        write_output(std::filesystem::path(folder) / name,
                     [&](std::ostream& stream) { stream << bytes; });
    };
    write("sent.png", pictures.sent);
    write("returned.png", pictures.returned);
    write("difference.png", pictures.difference);
    write("sent.raw", text(inspection.evidence->sent));
    write("returned.raw", text(inspection.evidence->returned));
    write("layout.txt", describe_files(inspection, pictures));
}

}  // namespace texprobe::ctl
