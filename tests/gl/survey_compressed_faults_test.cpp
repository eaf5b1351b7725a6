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
    static FaultyVerdicts verdicts_with(const std::function<void(Gl*)>& fault) {
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

TEST_F(CompressedFault, is_not_found_where_there_is_none) {
    EXPECT_EQ(verdicts_with([](Gl*) {}), FaultyVerdicts{});
}

/// The blocks with the sixth as the seventh.
std::vector<unsigned char> with_wrong_block(Enum number, int size, const void* blocks) {
    const auto* const first = static_cast<const unsigned char*>(blocks);
    std::vector<unsigned char> wrong(first, first + size);
    const auto format = std::find_if(formats().begin(), formats().end(),
                                     [&](const Format& each) { return each.value == number; });
    const auto bytes = static_cast<std::size_t>(format->block.bytes);
    if (wrong.size() >= 7 * bytes)
        std::copy_n(first + 6 * bytes, bytes,
                    wrong.begin() + 5 * static_cast<std::ptrdiff_t>(bytes));
    return wrong;
}

/// The pointer is a place in a buffer.
bool is_place(const void* blocks) {
    return reinterpret_cast<std::uintptr_t>(blocks) < 4096;
}

TEST_F(CompressedFault, wrong_block_of_an_image_is_found_in_what_shows_it) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->CompressedTexImage2D = [](Enum target, int level, Enum format, int width, int height,
                                      int border, int size, const void* blocks) {
            real.CompressedTexImage2D(target, level, format, width, height, border, size,
                                      with_wrong_block(format, size, blocks).data());
        };
    });
    // What comes from a buffer covers all of it.
    EXPECT_EQ(found, each({{"upload", "wrong"}, {"upload_part", "wrong"}, {"filter", "unknown"}}));
}

TEST_F(CompressedFault,
       wrong_block_of_what_is_sent_from_memory_is_found_in_upload_and_upload_part) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->CompressedTexSubImage2D = [](Enum target, int level, int x, int y, int width,
                                         int height, Enum format, int size, const void* blocks) {
            std::vector<unsigned char> wrong;
            if (!is_place(blocks)) wrong = with_wrong_block(format, size, blocks);
            real.CompressedTexSubImage2D(target, level, x, y, width, height, format, size,
                                         wrong.empty() ? blocks : wrong.data());
        };
    });
    EXPECT_EQ(found, each({{"upload", "wrong"}, {"upload_part", "wrong"}}));
}

TEST_F(CompressedFault, ignored_offset_of_a_part_is_found_in_upload_part) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->CompressedTexSubImage2D = [](Enum target, int level, int, int, int width, int height,
                                         Enum format, int size, const void* blocks) {
            real.CompressedTexSubImage2D(target, level, 0, 0, width, height, format, size, blocks);
        };
    });
    EXPECT_EQ(found, each({{"upload_part", "wrong"}}));
}

bool isStorageBound = false;

TEST_F(CompressedFault,
       part_of_storage_that_is_lost_below_the_full_height_is_found_in_upload_part) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->CompressedTexImage2D = [](Enum target, int level, Enum format, int width, int height,
                                      int border, int size, const void* blocks) {
            isStorageBound = false;
            real.CompressedTexImage2D(target, level, format, width, height, border, size, blocks);
        };
        gl->TexStorage2D = [](Enum target, int levels, Enum format, int width, int height) {
            isStorageBound = true;
            real.TexStorage2D(target, levels, format, width, height);
        };
        gl->CompressedTexSubImage2D = [](Enum target, int level, int x, int y, int width,
                                         int height, Enum format, int size, const void* blocks) {
            if (isStorageBound && y > 0) return;
            real.CompressedTexSubImage2D(target, level, x, y, width, height, format, size, blocks);
        };
    });
    EXPECT_EQ(found, each({{"upload_part", "wrong"}}));
}

TEST_F(CompressedFault, ignored_place_in_a_buffer_is_found_in_upload_buffer) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->CompressedTexSubImage2D = [](Enum target, int level, int x, int y, int width,
                                         int height, Enum format, int size, const void* blocks) {
            real.CompressedTexSubImage2D(target, level, x, y, width, height, format, size,
                                         is_place(blocks) ? nullptr : blocks);
        };
    });
    EXPECT_EQ(found, each({{"upload_buffer", "wrong"}}));
}

TEST_F(CompressedFault, error_of_what_is_sent_is_found_in_each_upload) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->CompressedTexSubImage2D = [](Enum target, int level, int x, int y, int width,
                                         int height, Enum format, int size, const void* blocks) {
            real.CompressedTexSubImage2D(target, level, x, y, width, height, format, size - 1,
                                         blocks);
        };
    });
    EXPECT_EQ(
        found,
        each({{"upload", "refused"}, {"upload_part", "refused"}, {"upload_buffer", "refused"}}));
}

TEST_F(CompressedFault, refused_image_is_found_in_create_and_leaves_nothing_else_to_try) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->CompressedTexImage2D = [](Enum, int level, Enum format, int width, int height,
                                      int border, int size, const void* blocks) {
            real.CompressedTexImage2D(0, level, format, width, height, border, size, blocks);
        };
    });
    EXPECT_EQ(found, each({{"create", "refused"},
                           {"filter", "not_applicable"},
                           {"upload", "not_applicable"},
                           {"upload_part", "not_applicable"},
                           {"upload_buffer", "not_applicable"}}));
}

TEST_F(CompressedFault, refused_storage_is_found_in_create_storage_alone) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->TexStorage2D = [](Enum, int levels, Enum format, int width, int height) {
            real.TexStorage2D(0, levels, format, width, height);
        };
    });
    EXPECT_EQ(found, each({{"create_storage", "refused"}}));
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
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->TexParameteri = [](Enum target, Enum name, int value) {
            real.TexParameteri(target, name, value == gl::kLinear ? gl::kNearest : value);
        };
    });
    EXPECT_EQ(found, each({{"filter", "wrong"}}));
}

}  // namespace
}  // namespace texprobe::survey
