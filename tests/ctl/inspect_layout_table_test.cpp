// Faults in layouts other than RGBA bytes, each with the name that it must have there.

#include "ctl/inspect_fault_table.h"

namespace texprobe::tests {
namespace {

using namespace fault_table;
using std::size_t;

struct LayoutRow {
    Memory sent;
    Memory back;
    TableFault fault;
};

const Memory kRgbBytes = memory_of(GL_RGB, GL_UNSIGNED_BYTE, 3);
const Memory kLuminanceBytes = memory_of(GL_LUMINANCE, GL_UNSIGNED_BYTE, 1);
const Memory kLuminanceWords = memory_of(GL_LUMINANCE, GL_UNSIGNED_SHORT, 2);
const Memory kLuminanceFloats = memory_of(GL_LUMINANCE, GL_FLOAT, 4);
const Memory kRgbaWords = memory_of(GL_RGBA, GL_UNSIGNED_SHORT, 8);

Bytes noise_in(const Memory& memory) {
    Bytes bytes(kSide * memory.row());
    for (size_t i = 0; i < bytes.size(); i += memory.size) {
        if (memory.is_float()) {
            const auto low = noise(i, 2) / 256.0 + noise(i, 3) / 65536.0;
            write_element(memory, (noise(i) + low) / 256, &bytes[i]);
            continue;
        }
        for (size_t b = 0; b < memory.size; ++b) bytes[i + b] = noise(i + b);
    }
    return bytes;
}

double grid(double value, double steps) {
    return std::nearbyint(value * steps) / steps;
}

TEST(FaultOfLayouts, is_named_in_words_floats_and_fewer_channels) {
    const auto tile = [](size_t r, size_t c) { return r / 16 == 2 && c / 16 == 4; };
    const auto readApart = [](size_t bytes) {
        return [=](const Memory& m, size_t i) { return i / m.row() * bytes + i % m.row(); };
    };
    const auto writtenApart = [](size_t bytes) {
        return [=](const Memory& m, size_t i) {
            return i % bytes < m.row() ? i / bytes * m.row() + i % bytes : size_t(-1);
        };
    };
    const auto reversed = [](const Memory& m, size_t i) {
        return i - i % m.size + m.size - 1 - i % m.size;
    };
    const auto halved = [](double v) { return v / 2; };
    const auto of8Bits = [](double v) { return grid(v, 255); };
    const auto half = [](double v) {
        const double unit = std::pow(2.0, std::ilogb(v) - 10);
        return std::nearbyint(v / unit) * unit;
    };
    const auto none = [](double) { return 0.0; };
    const auto down = [](const Memory& memory, const TableFault& fault) {
        return LayoutRow{memory, memory, fault};
    };
    const auto up = [](const TableFault& fault) {
        return LayoutRow{kRgbaWords, kRgbaBytes, fault};
    };
    const LayoutRow rows[] = {
        down(kLuminanceBytes,
             by_part("tile", {"Wrong from row 32 to 47 and from column 64 to 79."}, false, tile)),
        down(kLuminanceBytes, by_byte("rows padded to 256",
                                      {"The sent rows were taken to be 256 bytes apart; they are "
                                       "128."},
                                      readApart(256))),
        down(kLuminanceBytes, by_noise("lowest bit", {kSmall}, 1)),
        down(kLuminanceBytes, by_all("lost", {"Nothing arrived: luminance 0 "}, none)),
        down(kRgbBytes, by_byte("rows padded to 512",
                                {"The sent rows were taken to be 512 bytes apart; they are 384."},
                                readApart(512))),
        down(kRgbBytes,
             by_byte("rows written padded", {"The rows came back 512 bytes apart instead of 384."},
                     writtenApart(512))),
        down(kRgbBytes, by_byte("a byte on", {"The image is shifted by one byte towards its end."},
                                [](const Memory&, size_t i) { return i - 1; })),
        down(kLuminanceWords,
             by_byte("byte order", {"The bytes of each element are in reverse order."}, reversed)),
        down(kLuminanceWords, by_all("8 bits", {"Kept at 8 bits."}, of8Bits)),
        down(kLuminanceWords,
             by_all("10 bits", {"Kept at 10 bits."}, [](double v) { return grid(v, 1023); })),
        down(kLuminanceWords,
             by_all("8 bits, cut", {"Kept at 8 bits."},
                    [](double v) { return std::floor(v * 65535 / 256) * 256 / 65535; })),
        down(kLuminanceWords,
             by_all("half", {"Luminance came back as 0.5 times what was sent."}, halved)),
        down(kLuminanceFloats,
             by_all("halves", {"Kept as floats of 11 significant bits, as half floats have."},
                    half)),
        down(kLuminanceFloats, by_all("8 bits", {"Kept at 8 bits."}, of8Bits)),
        down(kLuminanceFloats, by_all("double", {"Luminance came back as 2 times what was sent."},
                                      [](double v) { return v * 2; })),
        up(by_all("8 bits",
                  {"The driver is right to 8 bits, which is all that an upload shows. This no "
                   "comes from the test itself, which compares by rules of its own."},
                  of8Bits)),
        up(by_order("BGRA", {"Red and blue are exchanged."}, {2, 1, 0, 3})),
        up(by_all("4 bits", {"Kept at 4 bits."}, [](double v) { return grid(v, 15); })),
        up(by_part("tile", {"Wrong from row 32 to 47 and from column 64 to 79."}, false, tile)),
        up(by_byte("rows padded to 2048",
                   {"The sent rows were taken to be 2048 bytes apart; they are 1024."},
                   readApart(2048))),
        up(by_all("half", {"Red, green, blue, alpha came back as 0.5"}, halved)),
    };
    for (const LayoutRow& row : rows) {
        const Sent sent = {row.sent, noise_in(row.sent)};
        const Image came = write_texels_of(row.back, row.fault.damage(sent));
        EXPECT_THAT(said_of(sent, came), testing::StartsWith(row.fault.names.inRgbaBytes))
            << row.fault.what << " in pixels of " << row.sent.elements * row.sent.size << " bytes";
    }
}

}  // namespace
}  // namespace texprobe::tests
