// Faults of places: pixels that belong elsewhere, come from elsewhere, or are wrong only there.

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "inspect/faults.h"

namespace texprobe::ctl {

namespace {

/// Where there is no source. So is all that lies outside the image.
constexpr auto kNone = static_cast<std::size_t>(-1);

/// Whether the image is the sent bytes with byte `source(i)` at the place of byte i, as far as
/// there is such a byte; a pixel without one tells nothing, nor does a value that is no number.
/// Looks at each `step`-th pixel.
template <class Source>
bool comes_from_bytes(const ComparedImages& images, std::size_t step, Source source) {
    const Image& sent = images.evidence.sent;
    const std::size_t size = bytes_per_pixel(sent.layout);
    Image moved = {sent.layout, {}};
    std::vector<std::size_t> places;
    for (std::size_t place = 0; place < kPixels; place += step) {
        std::vector<std::uint8_t> pixel;
        for (std::size_t i = place * size; i < (place + 1) * size; ++i) {
            const std::size_t from = source(i);
            if (from < kPixels * size) pixel.push_back(sent.bytes[from]);
        }
        if (pixel.size() < size) continue;
        places.push_back(place);
        moved.bytes.insert(moved.bytes.end(), pixel.begin(), pixel.end());
    }
    const Planes expected =
        expected_in(images.evidence.returned.layout, decode(moved, places.size()));
    for (std::size_t c = 0; c < expected.values.size(); ++c) {
        for (std::size_t i = 0; i < places.size(); ++i) {
            const double value = expected.values[c][i];
            const double returned = images.returned.values[c][places[i]];
            if (std::isfinite(value) && !is_equal(value, returned, images.tolerance)) return false;
        }
    }
    return true;
}

/// Most do not, and a few pixels tell it.
template <class Source>
bool comes_from_bytes(const ComparedImages& images, Source source) {
    return comes_from_bytes(images, 251, source) && comes_from_bytes(images, 1, source);
}

/// Whether each pixel holds the sent one that `source` gives, where it gives one.
template <class Source>
bool comes_from(const ComparedImages& images, Source source) {
    for (std::size_t i = 0; i < kPixels; ++i) {
        const std::size_t from = source(i);
        if (from >= kPixels) continue;
        for (std::size_t c = 0; c < images.expected.values.size(); ++c) {
            const double expected = images.expected.values[c][from];
            if (!is_equal(expected, images.returned.values[c][i], images.tolerance)) return false;
        }
    }
    return true;
}

std::string count(std::size_t number, const char* one) {
    return number == 1 ? fmt::format("one {}", one) : fmt::format("{} {}s", number, one);
}

/// A shift by so many pixels in memory, as far as the image has a source for it.
bool is_shifted(const ComparedImages& images, std::size_t by) {
    return comes_from(images, [=](std::size_t i) { return i - by; });
}

/// The part of the image that is wrong.
struct Part {
    std::set<std::size_t> rows;
    std::set<std::size_t> columns;
    std::size_t pixels = 0;
    /// All colours are 0 there.
    bool isEmpty = true;
};

Part find_wrong_part(const ComparedImages& images) {
    Part part;
    for (std::size_t i = 0; i < kPixels; ++i) {
        if (!is_wrong(images, i)) continue;
        ++part.pixels;
        part.rows.insert(i / kColumns);
        part.columns.insert(i % kColumns);
        for (std::size_t c = 0; c < images.returned.values.size(); ++c) {
            part.isEmpty &=
                !is_colour(images.returned.channels[c]) || images.returned.values[c][i] == 0.0;
        }
    }
    return part;
}

bool is_gapless(const std::set<std::size_t>& lines) {
    return *lines.rbegin() - *lines.begin() + 1 == lines.size();
}

/// "row 3", "rows 5 to 8", "every odd row".
std::string describe_lines(const std::set<std::size_t>& lines, const std::string& name) {
    const std::size_t first = *lines.begin();
    const std::size_t last = *lines.rbegin();
    if (lines.size() == 1) return fmt::format("{} {}", name, first);
    if (is_gapless(lines)) return fmt::format("{}s {} to {}", name, first, last);
    const bool isComb = lines.size() == kRows / 2 &&
                        std::all_of(lines.begin(), lines.end(),
                                    [=](std::size_t line) { return line % 2 == first % 2; });
    if (isComb) return fmt::format("every {} {}", first % 2 == 0 ? "even" : "odd", name);
    return fmt::format("{} of {} {}s, the first of which is {}", lines.size(), kRows, name, first);
}

}  // namespace

std::optional<std::string> find_byte_order(const ComparedImages& images) {
    const std::size_t size = element_size(images.evidence.sent.layout.type);
    // Where few bits came back, a shift by half an element may look the same.
    const auto describe = [&](const char* order) {
        const bool isEither = comes_from_bytes(images, [=](std::size_t i) { return i - size / 2; });
        return fmt::format("The {} of each element are in {}.", order,
                           isEither ? fmt::format("reverse order, or the image is shifted by {} "
                                                  "towards its end; 8 bits do not tell",
                                                  count(size / 2, "byte"))
                                    : "reverse order");
    };
    const auto reversed = [=](std::size_t i) { return i - i % size + size - 1 - i % size; };
    if (comes_from_bytes(images, reversed)) return describe("bytes");
    const auto exchanged = [](std::size_t i) { return i ^ 2; };
    if (size == 4 && comes_from_bytes(images, exchanged)) return describe("halves");
    return std::nullopt;
}

std::optional<std::string> find_shift(const ComparedImages& images) {
    const auto signedBy = [](std::size_t by, bool isToEnd) { return isToEnd ? by : 0 - by; };
    for (std::size_t rows = 1; rows <= kRows / 2; ++rows) {
        for (const bool isToEnd : {true, false}) {
            if (!is_shifted(images, signedBy(rows * kColumns, isToEnd))) continue;
            return fmt::format("The image is shifted by {}: row {} holds the sent row {}.",
                               count(rows, "row"), isToEnd ? rows : 0, isToEnd ? 0 : rows);
        }
    }
    const auto describe = [](const std::string& by, bool isToEnd) {
        return fmt::format("The image is shifted by {} towards its {}.", by,
                           isToEnd ? "end" : "beginning");
    };
    for (std::size_t pixels = 1; pixels < kColumns; ++pixels) {
        for (const bool isToEnd : {true, false}) {
            if (!is_shifted(images, signedBy(pixels, isToEnd))) continue;
            return describe(count(pixels, "pixel"), isToEnd);
        }
    }
    for (std::size_t bytes = 1; bytes <= 64; ++bytes) {
        for (const bool isToEnd : {true, false}) {
            const std::size_t by = signedBy(bytes, isToEnd);
            if (!comes_from_bytes(images, [=](std::size_t i) { return i - by; })) continue;
            return describe(count(bytes, "byte"), isToEnd);
        }
    }
    return std::nullopt;
}

std::optional<std::string> find_stride(const ComparedImages& images) {
    const std::size_t row = kColumns * bytes_per_pixel(images.evidence.sent.layout);
    std::set<std::size_t> strides;
    for (std::size_t bytes = 1; bytes <= 64; ++bytes) strides.insert({row - bytes, row + bytes});
    // As if a pixel had another size, or padded to a page, which is longer than any.
    for (const std::size_t pixel : {1U, 2U, 3U, 4U, 6U, 8U, 12U, 16U, 32U}) {
        strides.insert(kColumns * pixel);
    }
    strides.erase(row);
    for (const std::size_t stride : strides) {
        const auto taken = [=](std::size_t i) { return i / row * stride + i % row; };
        if (comes_from_bytes(images, taken)) {
            return fmt::format("The sent rows were taken to be {} bytes apart; they are {}.",
                               stride, row);
        }
        const auto written = [=](std::size_t i) {
            return i % stride < row ? i / stride * row + i % stride : kNone;
        };
        if (stride > row && comes_from_bytes(images, written)) {
            return fmt::format("The rows came back {} bytes apart instead of {}.", stride, row);
        }
    }
    return std::nullopt;
}

std::optional<std::string> find_turn(const ComparedImages& images) {
    constexpr std::size_t kLast = kRows - 1;
    const struct {
        std::size_t (*source)(std::size_t row, std::size_t column);
        const char* sentence;
    } turns[] = {
        {[](std::size_t row, std::size_t column) { return (kLast - row) * kColumns + column; },
         "The image is upside down: row 0 holds the sent row 127."},
        {[](std::size_t row, std::size_t column) { return row * kColumns + kLast - column; },
         "The image is mirrored: column 0 holds the sent column 127."},
        {[](std::size_t row, std::size_t column) { return kPixels - 1 - row * kColumns - column; },
         "The image is turned by 180 degrees: row 0 holds the sent row 127, mirrored."},
        {[](std::size_t row, std::size_t column) { return column * kColumns + row; },
         "Rows and columns are exchanged: row 0 holds the sent column 0."},
        {[](std::size_t row, std::size_t column) {
             return (row % (kRows / 2) * 2 + row / (kRows / 2)) * kColumns + column;
         },
         "The even rows came before the odd ones: row 64 holds the sent row 1."},
        {[](std::size_t, std::size_t column) { return column; }, "Each row holds the sent row 0."},
        {[](std::size_t row, std::size_t) { return row * kColumns; },
         "Each column holds the sent column 0."},
    };
    for (const auto& turn : turns) {
        const auto source = [&](std::size_t i) { return turn.source(i / kColumns, i % kColumns); };
        if (comes_from(images, source)) return turn.sentence;
    }
    return std::nullopt;
}

/// Each row for itself, as far as it has a source.
std::optional<std::string> find_row_shift(const ComparedImages& images) {
    for (std::size_t by = 1; by <= kColumns / 2; ++by) {
        const auto isShifted = [&](bool isToEnd) {
            return comes_from(images, [=](std::size_t i) {
                const std::size_t column = i % kColumns;
                if (isToEnd ? column < by : column + by >= kColumns) return kNone;
                return isToEnd ? i - by : i + by;
            });
        };
        for (const bool isToEnd : {true, false}) {
            if (!isShifted(isToEnd)) continue;
            return fmt::format("Each row is shifted by {}: column {} holds the sent column {}.",
                               count(by, "pixel"), isToEnd ? by : 0, isToEnd ? 0 : by);
        }
    }
    return std::nullopt;
}

/// The image that an earlier test returned, or sent.
std::optional<std::string> find_stale(const ComparedImages& images) {
    const Image& returned = images.evidence.returned;
    // The latest comes first.
    const auto& earlier = images.evidence.earlier;
    for (auto at = earlier.rbegin(); at != earlier.rend(); ++at) {
        const bool isSame = at->image.bytes == returned.bytes;
        if (isSame || are_equal(expected_in(returned.layout, decode(at->image)), images.returned,
                                images.tolerance)) {
            return "A stale image came back: that of the test of " + at->test + ".";
        }
    }
    return std::nullopt;
}

std::optional<std::string> find_part(const ComparedImages& images) {
    const Part part = find_wrong_part(images);
    const std::string end = part.isEmpty ? ": nothing arrived there." : ".";
    // Some wrong pixels are right by chance.
    const auto isFilled = [&](std::size_t area) { return part.pixels * 10 >= area * 9; };
    const auto describe = [&](const std::set<std::size_t>& wrong, const char* name) {
        if (part.isEmpty || 2 * wrong.size() <= kRows) {
            return "Wrong in " + describe_lines(wrong, name) + end;
        }
        std::set<std::size_t> right;
        for (std::size_t line = 0; line < kRows; ++line) {
            if (wrong.count(line) == 0) right.insert(line);
        }
        return "Right only in " + describe_lines(right, name) + ", without a pattern elsewhere.";
    };
    if (part.rows.size() < kRows && isFilled(part.rows.size() * kColumns)) {
        return describe(part.rows, "row");
    }
    if (part.columns.size() < kColumns && isFilled(part.columns.size() * kRows)) {
        return describe(part.columns, "column");
    }
    if (part.pixels == 1) {
        return fmt::format("Wrong in one pixel, in row {}, column {}{}", *part.rows.begin(),
                           *part.columns.begin(), end);
    }
    const std::size_t height = *part.rows.rbegin() - *part.rows.begin() + 1;
    const std::size_t width = *part.columns.rbegin() - *part.columns.begin() + 1;
    // All over the image they make no part of it.
    if (2 * height * width > kPixels && part.pixels > kRows) return std::nullopt;
    const std::string place =
        fmt::format("from row {} to {} and from column {} to {}", *part.rows.begin(),
                    *part.rows.rbegin(), *part.columns.begin(), *part.columns.rbegin());
    if (isFilled(height * width)) return "Wrong " + place + end;
    return fmt::format("Wrong in {} pixels, {}{}", part.pixels, place, end);
}

}  // namespace texprobe::ctl
