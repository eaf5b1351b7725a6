// The transfer format of each texture format.

#include <gtest/gtest.h>

#include <algorithm>

#include "measuring/pattern.h"
#include "support/formats.h"

namespace texprobe {
namespace {

TEST(BestPixelFormat, is_that_of_the_sixteen_and_leaves_its_outputs_untouched_for_any_other) {
    for (unsigned internalFormat = 0; internalFormat < 0x10000; ++internalFormat) {
        const auto& listed = tests::kFormats;
        const auto row = std::find_if(listed.begin(), listed.end(), [&](const auto& format) {
            return format.internalFormat == internalFormat;
        });
        const bool isListed = row != listed.end();
        unsigned format = 11;
        unsigned type = 22;
        unsigned bytesPerPixel = 33;
        ASSERT_EQ(best_pixel_format(internalFormat, &format, &type, &bytesPerPixel), isListed);
        ASSERT_EQ(format, isListed ? row->format : 11) << std::hex << internalFormat;
        ASSERT_EQ(type, isListed ? row->type : 22) << std::hex << internalFormat;
        ASSERT_EQ(bytesPerPixel, isListed ? row->bytesPerPixel : 33) << std::hex << internalFormat;
    }
}

}  // namespace
}  // namespace texprobe
