// The transfer format of each texture format.

#include <gtest/gtest.h>

#include <set>

#include "measuring/pattern.h"

namespace texprobe {
namespace {

struct Row {
    unsigned internalFormat;
    unsigned format;
    unsigned type;
    unsigned bytesPerPixel;
};

constexpr Row kTable[] = {
    {0x8040, 0x1909, 0x1401, 1},  {0x8042, 0x1909, 0x1403, 2}, {0x8045, 0x190A, 0x1401, 2},
    {0x8048, 0x190A, 0x1403, 4},  {0x8051, 0x80E0, 0x1401, 3}, {0x8054, 0x80E0, 0x1403, 6},
    {0x8058, 0x80E1, 0x8367, 4},  {0x805B, 0x80E1, 0x1403, 8}, {0x8814, 0x1908, 0x1406, 16},
    {0x8815, 0x1907, 0x1406, 12}, {0x8818, 0x1909, 0x1406, 4}, {0x8819, 0x190A, 0x1406, 8},
    {0x881A, 0x1908, 0x140B, 8},  {0x881B, 0x1907, 0x140B, 6}, {0x881E, 0x1909, 0x140B, 2},
    {0x881F, 0x190A, 0x140B, 4},
};

TEST(BestPixelFormat, gives_every_listed_format_its_transfer_format_type_and_size) {
    for (const Row& row : kTable) {
        unsigned format = 0;
        unsigned type = 0;
        unsigned bytesPerPixel = 0;
        EXPECT_TRUE(best_pixel_format(row.internalFormat, &format, &type, &bytesPerPixel));
        EXPECT_EQ(format, row.format) << std::hex << row.internalFormat;
        EXPECT_EQ(type, row.type) << std::hex << row.internalFormat;
        EXPECT_EQ(bytesPerPixel, row.bytesPerPixel) << std::hex << row.internalFormat;
    }
}

TEST(BestPixelFormat, refuses_every_other_format_and_leaves_its_outputs_untouched) {
    std::set<unsigned> listed;
    for (const Row& row : kTable) listed.insert(row.internalFormat);
    ASSERT_EQ(listed.size(), 16u);
    for (unsigned internalFormat = 0; internalFormat < 0x10000; ++internalFormat) {
        if (listed.count(internalFormat)) continue;
        unsigned format = 11;
        unsigned type = 22;
        unsigned bytesPerPixel = 33;
        ASSERT_FALSE(best_pixel_format(internalFormat, &format, &type, &bytesPerPixel));
        ASSERT_EQ(format, 11u) << std::hex << internalFormat;
        ASSERT_EQ(type, 22u) << std::hex << internalFormat;
        ASSERT_EQ(bytesPerPixel, 33u) << std::hex << internalFormat;
    }
}

}  // namespace
}  // namespace texprobe
