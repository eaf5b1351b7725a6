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
SendingCall lastDefinition;  // Of a texture that is not the judge's own.

void remember_state(Gl* gl) {
    boundBuffer = 0;
    packRowLength = unpackRowLength = 0;
    gl->BindBuffer = [](Enum target, unsigned buffer) {
        boundBuffer = buffer == 0 ? 0 : target;
        real.BindBuffer(target, buffer);
    };
    gl->PixelStorei = [](Enum name, int value) {
        if (name == gl::kPackRowLength) packRowLength = value;
        if (name == gl::kUnpackRowLength) unpackRowLength = value;
        real.PixelStorei(name, value);
    };
    change_definitions(gl, [](SendingCall* call) {
        if (call->internalFormat != gl::kRgba32ui) lastDefinition = *call;
    });
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
    static FaultyVerdicts verdicts_with(const Fault& fault,
                                        Profile profile = Profile::kCompatibility) {
        return find_faulty(kTransferSample, profile, fault, [](const Question& question) {
            return question.use <= Use::kCreateStorage || is_transfer(question.use);
        });
    }

    static FaultyVerdicts verdicts_with_parts(const Change& change) {
        return verdicts_with([&](Gl* gl) {
            remember_state(gl);
            change_parts(gl, change);
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
    EXPECT_EQ(verdicts_with_parts([](SendingCall* call) {
                  if (boundBuffer == gl::kPixelUnpackBuffer) call->from = nullptr;
              }),
              wrong_in({Use::kUploadBuffer}));
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
    EXPECT_EQ(verdicts_with_parts([](SendingCall* call) {
                  const bool isPart = call->height < lastDefinition.height;
                  if (lastDefinition.isStorage && isPart) call->height = 0;
              }),
              wrong_in({Use::kUploadPartStorage}));
}

TEST_F(SurveyTransferFault, neighbours_of_a_part_that_are_overwritten_are_found_in_parts) {
    EXPECT_EQ(verdicts_with_parts([](SendingCall* call) {
                  // One texel more in each row; what is behind it in memory is ours.
                  if (call->x != 0) ++call->width;
              }),
              wrong_in(kParts));
}

TEST_F(SurveyTransferFault, exchange_of_red_and_blue_is_found_in_that_layout) {
    EXPECT_EQ(
        verdicts_with_parts([](SendingCall* call) {
            if (call->format == kBgrFormat) call->format = kRgbFormat;
        }),
        wrong_in({Use::kUpload, Use::kUploadPart, Use::kUploadPartStorage, Use::kUploadBuffer},
                 {"GL_RGB8"}, {"GL_BGR GL_UNSIGNED_BYTE"}));
}

/// Textures of one format are of another, and say that they are not.
template <Enum kFrom, Enum kTo, Enum kSizeName, int kSize>
void replace_format(Gl* gl) {
    change_definitions(gl, [](SendingCall* call) {
        if (call->internalFormat == kFrom) call->internalFormat = kTo;
    });
    gl->GetTexLevelParameteriv = [](Enum target, int level, Enum name, int* value) {
        real.GetTexLevelParameteriv(target, level, name, value);
        if (name == kSizeName && *value != 0) *value = kSize;
    };
}

TEST_F(SurveyTransferFault, bits_that_are_cut_are_found_in_uploads) {
    EXPECT_EQ(verdicts_with(replace_format<0x822A, 0x8229, gl::kRedSize, 16>),
              wrong_in(kUploads, {"GL_R16"}));
    EXPECT_EQ(verdicts_with(replace_format<0x81A6, 0x81A5, gl::kDepthSize, 24>),
              wrong_in(kUploads, {"GL_DEPTH_COMPONENT24"}));
}

TEST_F(SurveyTransferFault, srgb_that_is_decoded_twice_is_found_in_its_uploads) {
    constexpr Enum kSrgb8Alpha8 = 0x8C43;
    std::vector<unsigned char> decoded;
    const auto decode = [&](SendingCall* call) {
        const bool isSrgb = lastDefinition.internalFormat == kSrgb8Alpha8;
        if (!isSrgb || boundBuffer != 0 || unpackRowLength != 0) return;
        const auto* const bytes = static_cast<const unsigned char*>(call->from);
        const int size = call->width * call->height * 4;
        decoded.assign(bytes, bytes + size);
        for (std::size_t i = 0; i < decoded.size(); ++i) {
            const double value = decoded[i] / 255.0;
            const double linear =
                value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
            if (i % 4 != 3) decoded[i] = static_cast<unsigned char>(std::lround(linear * 255));
        }
        call->from = decoded.data();
    };
    EXPECT_EQ(verdicts_with_parts(decode), wrong_in({Use::kUpload}, {"GL_SRGB8_ALPHA8"}));
}

/// What becomes of whole images of bytes that are read in GL_RGB to memory.
void (*spoilRead)(int width, std::size_t size, unsigned char* bytes) = nullptr;

Fault fault_of_rgb_reads(void (*spoil)(int width, std::size_t size, unsigned char* bytes)) {
    spoilRead = spoil;
    return [](Gl* gl) {
        remember_state(gl);
        gl->ReadPixels = [](int x, int y, int width, int height, Enum format, Enum type,
                            void* pixels) {
            real.ReadPixels(x, y, width, height, format, type, pixels);
            if (format != kRgbFormat || boundBuffer != 0 || packRowLength != 0) return;
            const int size = 3 * width * height;
            spoilRead(width, static_cast<std::size_t>(size), static_cast<unsigned char*>(pixels));
        };
    };
}

TEST_F(SurveyTransferFault, read_that_writes_past_the_image_is_found_in_it) {
    const FaultyVerdicts found = verdicts_with(
        fault_of_rgb_reads([](int, std::size_t size, unsigned char* bytes) { bytes[size] ^= 1; }));
    EXPECT_EQ(found, wrong_in({Use::kRead}, {"GL_RGB8"}, {"GL_RGB GL_UNSIGNED_BYTE"}));
}

/// The images that were read first, by their width.
std::map<int, std::vector<unsigned char>> firstReads;

TEST_F(SurveyTransferFault, stale_read_is_found_in_it) {
    firstReads.clear();
    const FaultyVerdicts found =
        verdicts_with(fault_of_rgb_reads([](int width, std::size_t size, unsigned char* bytes) {
            const auto& first = firstReads.try_emplace(width, bytes, bytes + size).first->second;
            std::memcpy(bytes, first.data(), size);
        }));
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
