// Transfers on a driver with one fault: it must be found in exactly the uses and layouts that it
// concerns.

#include <cmath>
#include <cstring>
#include <set>

#include "survey_faults.h"

namespace texprobe::survey {
namespace {

// Blue first or not, texels of one, two, three and four bytes, sRGB, and depth.
const std::vector<const char*> kTransferSample = {"GL_RGBA8", "GL_RGB8", "GL_R16",
                                                  "GL_SRGB8_ALPHA8", "GL_DEPTH_COMPONENT24"};

using Uses = std::set<Use>;
const Uses kParts = {Use::kUploadPart, Use::kUploadPartStorage};
const Uses kUploads = {Use::kUpload, Use::kUploadPart, Use::kUploadPartStorage, Use::kUploadBuffer,
                       Use::kDefineBuffer};
const Uses kReads = {Use::kRead, Use::kReadPart, Use::kReadBuffer, Use::kGet, Use::kGetBuffer};

constexpr Enum kBgrFormat = 0x80E0, kRgbFormat = 0x1907;

// What the driver's state is, as the functions below have seen it.
Enum boundBuffer = 0;  // As which target; 0 for none.
int packRowLength = 0;
int unpackRowLength = 0;
int heightOfStorage = 0;  // Of the texture that was made last; 0 if that has no storage.
Enum lastInternalFormat = 0;

void remember_state(Gl* gl) {
    boundBuffer = 0;
    packRowLength = unpackRowLength = heightOfStorage = 0;
    gl->BindBuffer = [](Enum target, unsigned buffer) {
        boundBuffer = buffer == 0 ? 0 : target;
        real.BindBuffer(target, buffer);
    };
    gl->PixelStorei = [](Enum name, int value) {
        if (name == gl::kPackRowLength) packRowLength = value;
        if (name == gl::kUnpackRowLength) unpackRowLength = value;
        real.PixelStorei(name, value);
    };
    gl->TexStorage2D = [](Enum target, int levels, Enum format, int width, int height) {
        heightOfStorage = height;
        lastInternalFormat = format;
        real.TexStorage2D(target, levels, format, width, height);
    };
    gl->TexImage2D = [](Enum target, int level, int internalFormat, int width, int height,
                        int border, Enum format, Enum type, const void* pixels) {
        // The judge's own is another matter.
        if (internalFormat != static_cast<int>(gl::kRgba32ui)) {
            heightOfStorage = 0;
            lastInternalFormat = static_cast<Enum>(internalFormat);
        }
        real.TexImage2D(target, level, internalFormat, width, height, border, format, type, pixels);
    };
}

/// One pixel-store parameter that the driver ignores.
template <Enum kName, int kValue>
void ignore_parameter(Gl* gl) {
    gl->PixelStorei = [](Enum name, int value) {
        real.PixelStorei(name, name == kName ? kValue : value);
    };
    gl->PixelStorei(kName, kValue);
}

class SurveyTransferFault : public SurveyWithFault {
protected:
    static FaultyVerdicts verdicts_with(const std::function<void(Gl*)>& fault,
                                        Profile profile = Profile::kCompatibility) {
        return find_faulty(kTransferSample, profile, fault, [](const Question& question) {
            return question.use <= Use::kCreateStorage || is_transfer(question.use);
        });
    }

    /// These uses wrong, of these formats in these layouts; where none are named, of all in all.
    static FaultyVerdicts wrong_in(const Uses& uses, const std::set<std::string>& names = {},
                                   const std::set<std::string>& layouts = {}) {
        FaultyVerdicts verdicts;
        for (const std::string name : kTransferSample) {
            if (!names.empty() && names.count(name) == 0) continue;
            for (const Question& question :
                 questions_of(*find_format(name), Profile::kCompatibility)) {
                if (uses.count(question.use) == 0) continue;
                if (!layouts.empty() && layouts.count(name_of(question.layout)) == 0) continue;
                verdicts[name + ' ' + name_of(question)] = "wrong";
            }
        }
        return verdicts;
    }
};

TEST_F(SurveyTransferFault, is_not_found_where_there_is_none) {
    for (const Profile profile : {Profile::kCompatibility, Profile::kCore}) {
        EXPECT_EQ(verdicts_with([](Gl*) {}, profile), FaultyVerdicts());
    }
    // OpenGL ES need not have more than one layout for reading.
    const std::string layout = " GL_RGB GL_UNSIGNED_BYTE";
    const FaultyVerdicts inEs = {{"GL_RGB8 read" + layout, "not_offered"},
                                 {"GL_RGB8 read_part" + layout, "not_offered"},
                                 {"GL_RGB8 read_buffer" + layout, "not_offered"}};
    EXPECT_EQ(verdicts_with([](Gl*) {}, Profile::kEs), inEs);
}

TEST_F(SurveyTransferFault, row_length_that_is_ignored_is_found_in_parts) {
    EXPECT_EQ(verdicts_with(ignore_parameter<gl::kUnpackRowLength, 0>), wrong_in(kParts));
    EXPECT_EQ(verdicts_with(ignore_parameter<gl::kPackRowLength, 0>), wrong_in({Use::kReadPart}));
}

TEST_F(SurveyTransferFault, skips_that_are_ignored_are_found_in_parts) {
    EXPECT_EQ(verdicts_with(ignore_parameter<gl::kUnpackSkipPixels, 0>), wrong_in(kParts));
    EXPECT_EQ(verdicts_with(ignore_parameter<gl::kPackSkipRows, 0>), wrong_in({Use::kReadPart}));
}

TEST_F(SurveyTransferFault, alignment_of_4_is_found_where_rows_have_other_lengths) {
    // 61 texels of three or two bytes.
    EXPECT_EQ(verdicts_with(ignore_parameter<gl::kUnpackAlignment, 4>),
              wrong_in(kUploads, {"GL_RGB8", "GL_R16"}));
    EXPECT_EQ(verdicts_with(ignore_parameter<gl::kPackAlignment, 4>),
              wrong_in(kReads, {"GL_RGB8", "GL_R16"}));
}

TEST_F(SurveyTransferFault, offset_in_a_buffer_that_is_ignored_is_found_in_buffers) {
    const FaultyVerdicts uploads = verdicts_with([](Gl* gl) {
        remember_state(gl);
        gl->TexSubImage2D = [](Enum target, int level, int x, int y, int width, int height,
                               Enum format, Enum type, const void* pixels) {
            if (boundBuffer == gl::kPixelUnpackBuffer) pixels = nullptr;
            real.TexSubImage2D(target, level, x, y, width, height, format, type, pixels);
        };
    });
    EXPECT_EQ(uploads, wrong_in({Use::kUploadBuffer}));
    const FaultyVerdicts reads = verdicts_with([](Gl* gl) {
        remember_state(gl);
        gl->GetTexImage = [](Enum target, int level, Enum format, Enum type, void* pixels) {
            if (boundBuffer == gl::kPixelPackBuffer) pixels = nullptr;
            real.GetTexImage(target, level, format, type, pixels);
        };
    });
    EXPECT_EQ(reads, wrong_in({Use::kGetBuffer}));
}

TEST_F(SurveyTransferFault, part_with_storage_that_is_lost_below_the_full_height_is_found_there) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        remember_state(gl);
        gl->TexSubImage2D = [](Enum target, int level, int x, int y, int width, int height,
                               Enum format, Enum type, const void* pixels) {
            if (height < heightOfStorage) return;
            real.TexSubImage2D(target, level, x, y, width, height, format, type, pixels);
        };
    });
    EXPECT_EQ(found, wrong_in({Use::kUploadPartStorage}));
}

TEST_F(SurveyTransferFault, neighbours_of_a_part_that_are_overwritten_are_found_in_parts) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->TexSubImage2D = [](Enum target, int level, int x, int y, int width, int height,
                               Enum format, Enum type, const void* pixels) {
            // One texel more in each row; what is behind it in memory is ours.
            real.TexSubImage2D(target, level, x, y, width + (x == 0 ? 0 : 1), height, format, type,
                               pixels);
        };
    });
    EXPECT_EQ(found, wrong_in(kParts));
}

TEST_F(SurveyTransferFault, exchange_of_red_and_blue_is_found_in_that_layout) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->TexSubImage2D = [](Enum target, int level, int x, int y, int width, int height,
                               Enum format, Enum type, const void* pixels) {
            real.TexSubImage2D(target, level, x, y, width, height,
                               format == kBgrFormat ? kRgbFormat : format, type, pixels);
        };
    });
    EXPECT_EQ(found, wrong_in({Use::kUpload, Use::kUploadPart, Use::kUploadPartStorage,
                               Use::kUploadBuffer},
                              {"GL_RGB8"}, {"GL_BGR GL_UNSIGNED_BYTE"}));
}

/// Textures of one format are of another, and say that they are not.
template <Enum kFrom, Enum kTo, Enum kSizeName, int kSize>
void replace_format(Gl* gl) {
    gl->TexStorage2D = [](Enum target, int levels, Enum format, int width, int height) {
        real.TexStorage2D(target, levels, format == kFrom ? kTo : format, width, height);
    };
    gl->TexImage2D = [](Enum target, int level, int internalFormat, int width, int height,
                        int border, Enum format, Enum type, const void* pixels) {
        const int used = internalFormat == int{kFrom} ? int{kTo} : internalFormat;
        real.TexImage2D(target, level, used, width, height, border, format, type, pixels);
    };
    gl->GetTexLevelParameteriv = [](Enum target, int level, Enum name, int* value) {
        real.GetTexLevelParameteriv(target, level, name, value);
        if (name == kSizeName && *value != 0) *value = kSize;
    };
}

TEST_F(SurveyTransferFault, sixteen_bits_cut_to_eight_are_found_in_uploads) {
    EXPECT_EQ(verdicts_with(replace_format<0x822A, 0x8229, gl::kRedSize, 16>),
              wrong_in(kUploads, {"GL_R16"}));
}

TEST_F(SurveyTransferFault, depth_cut_to_sixteen_bits_is_found_in_uploads) {
    EXPECT_EQ(verdicts_with(replace_format<0x81A6, 0x81A5, gl::kDepthSize, 24>),
              wrong_in(kUploads, {"GL_DEPTH_COMPONENT24"}));
}

TEST_F(SurveyTransferFault, srgb_that_is_decoded_twice_is_found_in_its_uploads) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        remember_state(gl);
        gl->TexSubImage2D = [](Enum target, int level, int x, int y, int width, int height,
                               Enum format, Enum type, const void* pixels) {
            constexpr Enum kSrgb8Alpha8 = 0x8C43;
            std::vector<unsigned char> decoded;
            if (lastInternalFormat == kSrgb8Alpha8 && boundBuffer == 0 && unpackRowLength == 0) {
                const auto* bytes = static_cast<const unsigned char*>(pixels);
                for (int i = 0; i < width * height * 4; ++i) {
                    const double value = bytes[i] / 255.0;
                    const double linear =
                        value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
                    decoded.push_back(i % 4 == 3
                                          ? bytes[i]
                                          : static_cast<unsigned char>(std::lround(linear * 255)));
                }
                pixels = decoded.data();
            }
            real.TexSubImage2D(target, level, x, y, width, height, format, type, pixels);
        };
    });
    EXPECT_EQ(found, wrong_in({Use::kUpload}, {"GL_SRGB8_ALPHA8"}));
}

std::size_t size_of_rgb8(int width, int height) {
    return std::size_t{3} * static_cast<unsigned>(width) * static_cast<unsigned>(height);
}

TEST_F(SurveyTransferFault, read_that_writes_past_the_image_is_found_in_it) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        remember_state(gl);
        gl->ReadPixels = [](int x, int y, int width, int height, Enum format, Enum type,
                            void* pixels) {
            real.ReadPixels(x, y, width, height, format, type, pixels);
            if (format != kRgbFormat || boundBuffer != 0 || packRowLength != 0) return;
            static_cast<unsigned char*>(pixels)[size_of_rgb8(width, height)] ^= 1;
        };
    });
    EXPECT_EQ(found, wrong_in({Use::kRead}, {"GL_RGB8"}, {"GL_RGB GL_UNSIGNED_BYTE"}));
}

/// The images that were read first, by their size and format.
std::map<std::vector<unsigned>, std::vector<unsigned char>> firstReads;

TEST_F(SurveyTransferFault, stale_read_is_found_in_it) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        remember_state(gl);
        firstReads.clear();
        gl->ReadPixels = [](int x, int y, int width, int height, Enum format, Enum type,
                            void* pixels) {
            real.ReadPixels(x, y, width, height, format, type, pixels);
            if (format != kRgbFormat || boundBuffer != 0 || packRowLength != 0) return;
            const auto* bytes = static_cast<const unsigned char*>(pixels);
            const auto size = size_of_rgb8(width, height);
            const auto& first =
                firstReads.try_emplace({static_cast<unsigned>(width), format}, bytes, bytes + size)
                    .first->second;
            std::memcpy(pixels, first.data(), size);
        };
    });
    EXPECT_EQ(found, wrong_in({Use::kRead}, {"GL_RGB8"}, {"GL_RGB GL_UNSIGNED_BYTE"}));
}

TEST_F(SurveyTransferFault, error_is_refused_in_the_use_that_gives_it) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->GetTexImage = [](Enum target, int level, Enum format, Enum type, void* pixels) {
            real.GetTexImage(format == kRgbFormat ? 0 : target, level, format, type, pixels);
        };
    });
    const FaultyVerdicts expected = {{"GL_RGB8 get GL_RGB GL_UNSIGNED_BYTE", "refused"},
                                     {"GL_RGB8 get_buffer GL_RGB GL_UNSIGNED_BYTE", "refused"}};
    EXPECT_EQ(found, expected);
}

}  // namespace
}  // namespace texprobe::survey
