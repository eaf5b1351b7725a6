// Compressed formats on a driver with one fault, which is another table of functions over Mesa's
// softpipe: the fault must be found in exactly the uses that it concerns.

#include <algorithm>
#include <cstdint>

#include "survey_faults.h"

namespace texprobe::survey {
namespace {

const std::vector<const char*> kCompressedSample = {"GL_COMPRESSED_RGBA_S3TC_DXT5_EXT",
                                                    "GL_COMPRESSED_SIGNED_RG_RGTC2",
                                                    "GL_COMPRESSED_RGB_BPTC_UNSIGNED_FLOAT",
                                                    "GL_COMPRESSED_SRGB_ALPHA_BPTC_UNORM",
                                                    "GL_COMPRESSED_RGB8_ETC2",
                                                    "GL_COMPRESSED_RGBA_ASTC_6x6_KHR"};

class CompressedFault : public SurveyWithFault {
protected:
    static FaultyVerdicts verdicts_with(const Fault& fault) {
        return find_faulty(kCompressedSample, Profile::kCompatibility, fault,
                           [](const Question&) { return true; });
    }

    /// The same verdicts for all of the sample.
    static FaultyVerdicts each(const FaultyVerdicts& ofUses) {
        FaultyVerdicts all;
        for (const char* name : kCompressedSample) {
            for (const auto& [use, verdict] : ofUses) all[std::string(name) + ' ' + use] = verdict;
        }
        return all;
    }
};

std::vector<unsigned char> wrongBlocks;

/// The sixth block is as the seventh.
void send_wrong_block(SendingCall* call) {
    const auto* const first = static_cast<const unsigned char*>(call->from);
    wrongBlocks.assign(first, first + call->blockBytes);
    const auto format = std::find_if(formats().begin(), formats().end(), [&](const Format& each) {
        return each.value == call->internalFormat;
    });
    const auto bytes = static_cast<std::size_t>(format->block.bytes);
    if (wrongBlocks.size() < 7 * bytes) return;
    std::copy_n(&wrongBlocks[6 * bytes], bytes, &wrongBlocks[5 * bytes]);
    call->from = wrongBlocks.data();
}

/// The call is from a place in a buffer.
bool is_from_buffer(const SendingCall& call) {
    return reinterpret_cast<std::uintptr_t>(call.from) < 4096;
}

TEST_F(CompressedFault, wrong_block_of_an_image_is_found_in_what_shows_it) {
    // What comes from a buffer covers all of it.
    EXPECT_EQ(verdicts_with(fault_of_definitions([](SendingCall* call) {
                  if (call->blockBytes != 0) send_wrong_block(call);
              })),
              each({{"upload", "wrong"}, {"upload_part", "wrong"}, {"filter", "unknown"}}));
}

TEST_F(CompressedFault,
       wrong_block_of_what_is_sent_from_memory_is_found_in_upload_and_upload_part) {
    EXPECT_EQ(verdicts_with(fault_of_parts([](SendingCall* call) {
                  if (!is_from_buffer(*call)) send_wrong_block(call);
              })),
              each({{"upload", "wrong"}, {"upload_part", "wrong"}}));
}

TEST_F(CompressedFault, ignored_offset_of_a_part_is_found_in_upload_part) {
    EXPECT_EQ(verdicts_with(fault_of_parts([](SendingCall* call) { call->x = call->y = 0; })),
              each({{"upload_part", "wrong"}}));
}

TEST_F(CompressedFault,
       part_of_storage_that_is_lost_below_the_full_height_is_found_in_upload_part) {
    static bool isOfStorage = false;
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        change_definitions(gl, [](SendingCall* call) { isOfStorage = call->isStorage; });
        change_parts(gl, [](SendingCall* call) {
            if (isOfStorage && call->y > 0) call->width = call->height = call->blockBytes = 0;
        });
    });
    EXPECT_EQ(found, each({{"upload_part", "wrong"}}));
}

TEST_F(CompressedFault, ignored_place_in_a_buffer_is_found_in_upload_buffer) {
    EXPECT_EQ(verdicts_with(fault_of_parts([](SendingCall* call) {
                  if (is_from_buffer(*call)) call->from = nullptr;
              })),
              each({{"upload_buffer", "wrong"}}));
}

TEST_F(CompressedFault, error_of_what_is_sent_is_found_in_each_upload) {
    EXPECT_EQ(
        verdicts_with(fault_of_parts([](SendingCall* call) { --call->blockBytes; })),
        each({{"upload", "refused"}, {"upload_part", "refused"}, {"upload_buffer", "refused"}}));
}

TEST_F(CompressedFault, refused_image_is_found_in_create_and_leaves_nothing_else_to_try) {
    EXPECT_EQ(verdicts_with(fault_of_definitions([](SendingCall* call) {
                  if (call->blockBytes != 0) call->target = 0;
              })),
              each({{"create", "refused"},
                    {"filter", "not_applicable"},
                    {"upload", "not_applicable"},
                    {"upload_part", "not_applicable"},
                    {"upload_buffer", "not_applicable"}}));
}

TEST_F(CompressedFault, refused_storage_is_found_in_create_storage_alone) {
    EXPECT_EQ(verdicts_with(fault_of_definitions([](SendingCall* call) {
                  if (call->isStorage) call->target = 0;
              })),
              each({{"create_storage", "refused"}}));
}

TEST_F(CompressedFault, another_format_than_was_asked_for_is_found_in_both_creates) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->GetTexLevelParameteriv = [](Enum target, int level, Enum name, int* value) {
            real.GetTexLevelParameteriv(target, level, name, value);
            if (name == gl::kInternalFormat) ++*value;
        };
    });
    EXPECT_EQ(found.at("GL_COMPRESSED_RGB8_ETC2 create"), "refused");
    EXPECT_EQ(found.at("GL_COMPRESSED_RGB8_ETC2 create_storage"), "refused");
}

TEST_F(CompressedFault, nearest_instead_of_linear_is_found_in_filter) {
    EXPECT_EQ(verdicts_with(sample_nearest), each({{"filter", "wrong"}}));
}

}  // namespace
}  // namespace texprobe::survey
