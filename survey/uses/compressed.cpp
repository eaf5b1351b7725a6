// Blocks of one color that are sent to compressed textures: whole images and parts, from memory and
// from a buffer. 61 x 37 cuts the blocks at two edges.

#include <vector>

#include "pixels/compressed_blocks.h"
#include "uses/transfer_uses.h"

namespace texprobe::survey {

namespace {

constexpr ImagePart kBlockImages[] = {kLargeImage.whole(), kOddImage.whole()};

std::string size_of(const ImagePart& part) {
    return std::to_string(part.width) + " x " + std::to_string(part.height);
}

/// How a texture is made with blocks, and how others follow.
struct BlockWay {
    enum class Sent : unsigned char { kNothing, kPart, kWhole };
    bool isStorage;
    Sent sent;
    bool isFromBuffer = false;
};

/// A part begins and ends within the large image; of the other one, whose size is no multiple of
/// blocks, it reaches the edges.
ImagePart area_of(const Format& format, const BlockWay& way, const ImagePart& image) {
    const int side = format.block.side;
    if (way.sent == BlockWay::Sent::kNothing) return {0, 0, 0, 0};
    if (way.sent == BlockWay::Sent::kWhole) return image;
    if (image.width % 2 == 0) return {2 * side, side, 5 * side, 3 * side};
    return {2 * side, side, image.width - 2 * side, image.height - side};
}

std::string name_of_way(const BlockWay& way, const ImagePart& image, const ImagePart& area) {
    std::string name = way.isStorage ? "glTexStorage2D, " : "glCompressedTexImage2D, ";
    name += size_of(image);
    if (way.sent == BlockWay::Sent::kPart) {
        name +=
            ", " + size_of(area) + " at " + std::to_string(area.x) + ", " + std::to_string(area.y);
    }
    return name + (way.isFromBuffer ? ", from a buffer: " : ": ");
}

void send_blocks(const Work& work, const ImagePart& area, const TexelImage& colors,
                 bool isFromBuffer) {
    const Format& format = work.format;
    const int side = format.block.side;
    const TexelImage part =
        make_image(blocks_across(format, area.width), blocks_across(format, area.height),
                   [&](int column, int row) {
                       return colors.at(area.x / side + column, area.y / side + row);
                   });
    std::vector<unsigned char> bytes = blocks_of(format, part);
    const auto size = static_cast<int>(bytes.size());
    const auto send = [&](const void* from) {
        work.gl().CompressedTexSubImage2D(gl::kTexture2D, 0, area.x, area.y, area.width,
                                          area.height, format.value, size, from);
    };
    if (!isFromBuffer) return send(bytes.data());
    // Behind three blocks that are not meant.
    const std::size_t offset = 3 * static_cast<std::size_t>(format.block.bytes);
    bytes.insert(bytes.begin(), offset, 0);
    const PixelBuffer buffer(work.gl(), gl::kPixelUnpackBuffer, bytes);
    send(place_in_buffer(offset));
}

/// The texture that is bound gets its size and blocks of these colors.
void make_texture(const Work& work, const BlockWay& way, const ImagePart& size,
                  const TexelImage& colors) {
    if (!way.isStorage) {
        return define_texture(work.gl(), work.format, size.width, size.height,
                              blocks_of(work.format, colors).data());
    }
    work.gl().TexStorage2D(gl::kTexture2D, 1, work.format.value, size.width, size.height);
    send_blocks(work, size, colors, false);
}

/// The same as difference_from(), but with the work for each block instead of each texel.
std::string difference_from_blocks(const Format& format, const TexelImage& colors,
                                   const TexelImage& came) {
    const int side = format.block.side;
    std::vector<ExpectedTexel> expected;
    for (const Texel& color : colors.texels) {
        ExpectedTexel texel = {as_sampled(format, color), {}};
        for (std::size_t c = 0; c < 4; ++c) texel.allowed[c] = tolerance(format, c, texel.value);
        expected.push_back(texel);
    }
    return first_difference(format, came, [&](int x, int y) -> const ExpectedTexel& {
        const int block = y / side * colors.width + x / side;
        return expected[static_cast<std::size_t>(block)];
    });
}

/// Blocks of `before` in the whole image, and then some of `sent`.
Finding try_way(const Work& work, const BlockWay& way, const ImagePart& image,
                const TexelImage& before, const TexelImage& sent) {
    const Format& format = work.format;
    const ImagePart area = area_of(format, way, image);
    const std::string name = name_of_way(way, image, area);
    const Texture texture(work.gl());
    make_texture(work, way, image, before);
    if (area.width != 0) send_blocks(work, area, sent, way.isFromBuffer);
    const Errors errors = take_errors(work.gl());
    if (!errors.empty()) return with_errors(refused(name), errors);
    const int side = format.block.side;
    const TexelImage expected = make_image(before.width, before.height, [&](int column, int row) {
        return area.has(column * side, row * side) ? sent.at(column, row) : before.at(column, row);
    });
    const TexelImage came = work.judge.look(texture, format, 0, image.width, image.height);
    return of_difference(difference_from_blocks(format, expected, came), name);
}

std::vector<BlockWay> ways_of(Use use) {
    using Sent = BlockWay::Sent;
    if (use == Use::kUploadBuffer) return {{false, Sent::kWhole, true}};
    if (use == Use::kUploadPart) return {{false, Sent::kPart}, {true, Sent::kPart}};
    return {{false, Sent::kNothing}, {false, Sent::kWhole}, {true, Sent::kWhole}};
}

}  // namespace

Finding upload_blocks(const Work& work, Use use, bool hasStorage) {
    const Format& format = work.format;
    for (const ImagePart& image : kBlockImages) {
        // A column further, each block is another one.
        const TexelImage before = block_colors(format, image.width, image.height);
        const TexelImage sent = block_colors(format, image.width, image.height, 1);
        for (const BlockWay& way : ways_of(use)) {
            if (way.isStorage && !hasStorage) continue;
            Finding finding = try_way(work, way, image, before, sent);
            if (finding.kind != Finding::Kind::kHolds) return finding;
        }
    }
    return {};
}

}  // namespace texprobe::survey
