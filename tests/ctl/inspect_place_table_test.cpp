// Faults of places, in all formats: each is named rightly or honestly unnamed.

#include "ctl/inspect_fault_table.h"

namespace texprobe::tests {
namespace {

using namespace fault_table;

std::vector<TableFault> place_rows() {
    using std::size_t;
    const auto moved = [](size_t by) { return [=](const Memory&, size_t i) { return i - by; }; };
    const auto stride = [](size_t wrong) {
        return [=](const Memory& m, size_t i) {
            return i / m.row() * (m.row() + wrong) + i % m.row();
        };
    };
    const auto pixel = [](size_t r, size_t c) {
        return [=](size_t row, size_t at) { return row == r && at == c; };
    };
    const auto tile = [](size_t r, size_t c) { return r / 16 == 2 && c / 16 == 4; };
    const auto fromRow100 = [](size_t r, size_t) { return r >= 100; };
    return {
        by_place("3 rows up", {"The image is shifted by 3 rows: row 3 holds the sent row 0."},
                 [](size_t r, size_t c) { return (r < 3 ? r : r - 3) * kSide + c; }),
        by_place("a row down", {"The image is shifted by one row: row 0 holds the sent row 1."},
                 [](size_t r, size_t c) { return std::min<size_t>(r + 1, 127) * kSide + c; }),
        by_place("3 rows around", {"The image is shifted by 3 rows: row 3 holds the sent row 0."},
                 [](size_t r, size_t c) { return (r + 125) % kSide * kSide + c; }),
        by_place("a pixel on", {"The image is shifted by one pixel towards its end."},
                 [](size_t r, size_t c) { return r + c == 0 ? 0 : r * kSide + c - 1; }),
        by_place("2 pixels back",
                 {"The image is shifted by 2 pixels towards its beginning.", kNotTried},
                 [](size_t r, size_t c) { return r * kSide + c + 2; }),
        by_place("8 columns around",
                 {"Each row is shifted by 8 pixels: column 8 holds the sent column 0."},
                 [](size_t r, size_t c) { return r * kSide + (c + 120) % kSide; }),
        by_place("a column, edge kept",
                 {"Each row is shifted by one pixel: column 1 holds the sent column 0."},
                 [](size_t r, size_t c) { return r * kSide + (c == 0 ? 0 : c - 1); }),
        by_byte("a byte on",
                {"The image is shifted by one byte towards its end.",
                 "The image is shifted by (one (byte|pixel|row)|. bytes)|The bytes of each element "
                 "are in reverse order, or the image is shifted by one byte towards its end"},
                moved(1)),
        by_byte("2 bytes on",
                {"The image is shifted by 2 bytes towards its end.",
                 "The image is shifted by (one pixel|2 pixels)|The halves of each element are in "
                 "reverse order, or the image is shifted by 2 bytes"},
                moved(2)),
        by_byte("3 bytes back",
                {"The image is shifted by 3 bytes towards its beginning.",
                 "The image is shifted by (3 pixels|one pixel)"},
                moved(size_t(-3))),
        by_byte("4 bytes on",
                {"The image is shifted by one pixel towards its end.",
                 "The image is shifted by (4 bytes|2 pixels|4 pixels)"},
                moved(4)),
        by_byte("64 bytes on",
                {"The image is shifted by 16 pixels towards its end.", "The image is shifted by "},
                moved(64)),
        by_byte("rows taken to be padded by 4",
                {"The sent rows were taken to be 516 bytes apart; they are 512.",
                 "The sent rows were taken to be |The image is shifted"},
                stride(4)),
        by_byte("rows taken to be padded by 16",
                {"The sent rows were taken to be 528 bytes apart; they are 512.",
                 "The sent rows were taken to be "},
                stride(16)),
        by_byte("rows taken to be shorter by 8",
                {"The sent rows were taken to be 504 bytes apart; they are 512.",
                 "The sent rows were taken to be "},
                stride(size_t(-8))),
        by_byte("rows taken to be padded to 4096",
                {"The sent rows were taken to be 4096 bytes apart; they are 512.",
                 "The sent rows were taken to be 4096"},
                [](const Memory& m, size_t i) { return i / m.row() * 4096 + i % m.row(); }),
        by_byte("rows taken to be twice as long",
                {"The sent rows were taken to be 1024 bytes apart; they are 512.",
                 "The sent rows were taken to be |Right only in row 0, without a pattern"},
                [](const Memory& m, size_t i) { return i / m.row() * 2 * m.row() + i % m.row(); }),
        by_byte("rows taken to be of 3 bytes a pixel",
                {"The sent rows were taken to be 384 bytes apart; they are 512.", kNotTried},
                [](const Memory& m, size_t i) { return i / m.row() * 384 + i % m.row(); }),
        by_byte(
            "rows padded by 16",
            {"The rows came back 528 bytes apart instead of 512.", "The rows came back .* apart"},
            [](const Memory& m, size_t i) {
                return i % (m.row() + 16) < m.row()
                           ? i / (m.row() + 16) * m.row() + i % (m.row() + 16)
                           : size_t(-1);
            }),
        by_byte("byte order", {kRight, "The bytes of each element are in reverse order"},
                [](const Memory& m, size_t i) {
                    const size_t size = m.layout.type == GL_UNSIGNED_INT_8_8_8_8_REV ? 4 : m.size;
                    return i - i % size + size - 1 - i % size;
                }),
        by_byte("half the bytes of words exchanged",
                {"Red holds blue, green holds alpha, blue holds red, alpha holds green.",
                 "Red holds (blue, green holds alpha|alpha, green holds|green, green holds "
                 "red)|(Red|Luminance) and alpha are exch|The (bytes|halves) of each"},
                [](const Memory&, size_t i) { return i ^ 2; }),
        by_place("upside down", {"The image is upside down: row 0 holds the sent row 127."},
                 [](size_t r, size_t c) { return (127 - r) * kSide + c; }),
        by_place("mirrored", {"The image is mirrored: column 0 holds the sent column 127."},
                 [](size_t r, size_t c) { return r * kSide + 127 - c; }),
        by_place("turned",
                 {"The image is turned by 180 degrees: row 0 holds the sent row 127, mirrored."},
                 [](size_t r, size_t c) { return (127 - r) * kSide + 127 - c; }),
        by_place("transposed", {"Rows and columns are exchanged: row 0 holds the sent column 0."},
                 [](size_t r, size_t c) { return c * kSide + r; }),
        by_place("turned by 90", {kUnknown},
                 [](size_t r, size_t c) { return c * kSide + 127 - r; }),
        by_place("pairs of rows exchanged", {kUnknown},
                 [](size_t r, size_t c) { return (r ^ 1) * kSide + c; }),
        by_place("pairs of pixels exchanged", {kUnknown},
                 [](size_t r, size_t c) { return r * kSide + (c ^ 1); }),
        by_place("halves exchanged",
                 {"The image is shifted by 64 rows: row 64 holds the sent row 0."},
                 [](size_t r, size_t c) { return (r ^ 64) * kSide + c; }),
        by_place("fields", {"The even rows came before the odd ones: row 64 holds the sent row 1."},
                 [](size_t r, size_t c) { return (r % 64 * 2 + r / 64) * kSide + c; }),
        by_place("tiles of 4 x 4", {kUnknown},
                 [](size_t r, size_t c) {
                     return r / 4 * 512 + c % 16 / 4 * 128 + r % 4 * 32 + c / 16 * 4 + c % 4;
                 }),
        by_place("Morton order", {kUnknown},
                 [](size_t r, size_t c) {
                     size_t i = 0;
                     for (size_t bit = 0; bit < 7; ++bit)
                         i |= (c >> bit & 1) << 2 * bit | (r >> bit & 1) << (2 * bit + 1);
                     return i;
                 }),
        by_place("every second pixel", {"Wrong in every odd column."},
                 [](size_t r, size_t c) { return r * kSide + c / 2 * 2; }),
        by_place("every second row", {"Wrong in every odd row."},
                 [](size_t r, size_t c) { return r / 2 * 256 + c; }),
        by_place("half the size", {kUnknown},
                 [](size_t r, size_t c) { return r / 2 * kSide + c / 2; }),
        by_place("one row everywhere", {"Each row holds the sent row 0."},
                 [](size_t, size_t c) { return c; }),
        by_place("one column everywhere", {"Each column holds the sent column 0."},
                 [](size_t r, size_t) { return r * kSide; }),
        by_part("one pixel", {"Wrong in one pixel, in row 33, column 5."}, false, pixel(33, 5)),
        by_part("the last pixel empty",
                {"Wrong in one pixel, in row 127, column 127: nothing arrived there."}, true,
                pixel(127, 127)),
        by_part("a tile", {"Wrong from row 32 to 47 and from column 64 to 79."}, false, tile),
        by_part("a tile empty",
                {"Wrong from row 32 to 47 and from column 64 to 79: nothing arrived there."}, true,
                tile),
        by_part("two tiles",
                {"Wrong in 512 pixels, from row 32 to 47 and from column 0 to 47.",
                 "Wrong in .* pixels, from row 32 to 47 and from column 0 to 47"},
                false, [](size_t r, size_t c) { return r / 16 == 2 && (c / 16 | 2) == 2; }),
        by_part("a quarter",
                {"Wrong from row 0 to 63 and from column 0 to 63: nothing arrived there."}, true,
                [](size_t r, size_t c) { return r < 64 && c < 64; }),
        by_part("a diagonal",
                {"Wrong in 128 pixels, from row 0 to 127 and from column 0 to 127.",
                 "Wrong in .* pixels, from row 0 to 127"},
                false, [](size_t r, size_t c) { return r == c; }),
        by_part("an edge", {kUnknown, "Wrong in .* pixels"}, true,
                [](size_t r, size_t c) { return r % 127 == 0 || c % 127 == 0; }),
        by_part(
            "three pixels",
            {"Wrong in 3 pixels, from row 3 to 103 and from column 3 to 103.", "Wrong in 3 pixels"},
            false, [](size_t r, size_t c) { return r % 50 == 3 && c == r; }),
        by_part("from row 100", {"Wrong in rows 100 to 127."}, false, fromRow100),
        by_part("from row 100, empty", {"Wrong in rows 100 to 127: nothing arrived there."}, true,
                fromRow100),
        by_part("the upper half", {"Wrong in rows 0 to 63: nothing arrived there.", kNotTried},
                true, [](size_t r, size_t) { return r < 64; }),
        by_part("all but a row", {"Wrong in rows 1 to 127: nothing arrived there."}, true,
                [](size_t r, size_t) { return r > 0; }),
        by_part(
            "all but two rows",
            {"Right only in rows 7 to 8, without a pattern elsewhere.", "Right only in |Wrong in "},
            false, [](size_t r, size_t) { return r < 7 || r > 8; }),
        by_part("odd rows", {"Wrong in every odd row."}, false,
                [](size_t r, size_t) { return r % 2 == 1; }),
        by_part("even rows", {"Wrong in every even row.", kNotTried}, false,
                [](size_t r, size_t) { return r % 2 == 0; }),
        by_part("two rows",
                {"Wrong in 2 of 128 rows, the first of which is 3: nothing arrived there."}, true,
                [](size_t r, size_t) { return r == 3 || r == 77; }),
        by_part("columns from 64 on", {"Wrong in columns 64 to 127: nothing arrived there."}, true,
                [](size_t, size_t c) { return c >= 64; }),
        by_part("a column", {"Wrong in column 9.", kNotTried}, false,
                [](size_t, size_t c) { return c == 9; }),
        by_part("each fourth column", {"Wrong in 32 of 128 columns, the first of which is 1."},
                false, [](size_t, size_t c) { return c % 4 == 1; }),
        by_part("a chessboard", {kUnknown}, false,
                [](size_t r, size_t c) { return (r + c) % 2 == 0; }),
        by_part("everything", {kUnknown}, false, [](size_t, size_t) { return true; }),
        by_both("from row 100, and lowest bit noise",
                {"Wrong in rows 100 to 127; values are not exact either.", kNotTried},
                by_part("", {""}, false, fromRow100), by_noise("", {""}, 1)),
    };
}

TEST(FaultOfPlaces, is_named_in_bytes) {
    expect_names(place_rows());
}

TEST(FaultOfPlaces, has_no_misleading_name_in_any_format) {
    // A sample, unless all faults are wanted.
    expect_no_misleading_name(place_rows(), FAULT_STRIDE == 1 ? 1 : 7 * IMAGE_STRIDE);
}

}  // namespace
}  // namespace texprobe::tests
