// A renderer that was measured, and `texprobectl inspect` on it with the faults that a script
// names.

#ifndef TEXPROBE_TESTS_INSPECT_FIXTURE_H
#define TEXPROBE_TESTS_INSPECT_FIXTURE_H

#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <regex>
#include <string>
#include <vector>

#include "ctl/ctl_folder.h"
#include "support/formats.h"

namespace texprobe::tests {

inline constexpr int kCreate = 0;
inline constexpr int kRender = 1;
inline constexpr int kSet = 2;
inline constexpr int kReset = 3;
inline constexpr int kGet = 4;
inline constexpr int kRead = 5;
inline constexpr const char* kWords[] = {"create", "render", "set", "reset", "get", "read"};

/// The driver fails in this test, as failing_driver.cpp describes: by a signal, 0 to hang, or a
/// word.
inline void fail(const CtlFolder& folder, const std::string& format, int capability,
                 const std::string& fault) {
    const auto* const known = std::find_if(kFormats.begin(), kFormats.end(),
                                           [&](const Format& each) { return each.name == format; });
    write_file(folder.file("faults"), std::to_string(known->internalFormat) + ' ' +
                                          std::to_string(capability) + ' ' + fault + '\n');
}

/// The one in the document of `inspect --json`, which has to be valid.
inline nlohmann::json inspection_in(const CtlFolder& folder, const std::string& document) {
    write_file(folder.file("i.json"), document);
    const int status = run({VALIDATOR, {SCHEMA, folder.file("i.json")}}).status;
    EXPECT_TRUE(status == 0 || WEXITSTATUS(status) == 77);
    return nlohmann::json::parse(document).at("inspections").at(0);
}

/// The paragraph behind the heading, on one line.
inline std::string sentence_of(const std::string& text) {
    const std::size_t begin = text.find("\n\n") + 2;
    return std::regex_replace(text.substr(begin, text.find("\n\n", begin) - begin),
                              std::regex("\n"), " ");
}

/// Red, green, blue, and alpha, which is 255 where the file has none.
using Pixel = std::array<int, 4>;

/// Read by libpng.
inline std::vector<Pixel> read_png(const std::filesystem::path& file, unsigned width = 128,
                                   unsigned height = 128) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_TRUE(png_image_begin_read_from_file(&image, file.c_str()));
    EXPECT_EQ(image.width, width);
    EXPECT_EQ(image.height, height);
    image.format = PNG_FORMAT_RGBA;
    std::vector<std::uint8_t> bytes(PNG_IMAGE_SIZE(image));
    png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr);
    std::vector<Pixel> pixels;
    for (std::size_t i = 0; i < bytes.size(); i += 4) {
        pixels.push_back({bytes[i], bytes[i + 1], bytes[i + 2], bytes[i + 3]});
    }
    return pixels;
}

class Inspect : public testing::Test {
protected:
    void SetUp() override {
        const Finished measured = folder_.ctl({"measure"});
        ASSERT_TRUE(measured.exited_with(0)) << measured.err;
        std::filesystem::create_directory(folder_.file("tmp"));
    }

    Finished inspect(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "inspect");
        return folder_.ctl(arguments, environment_);
    }

    /// What it says with this fault in this test.
    std::string sentence_with(const std::string& fault, const std::string& format, int capability) {
        fail(folder_, format, capability, fault);
        const Finished finished = inspect({format, kWords[capability]});
        EXPECT_TRUE(finished.exited_with(0)) << finished.err;
        return sentence_of(finished.out);
    }

    bool has_left_files() const { return !std::filesystem::is_empty(folder_.file("tmp")); }

    CtlFolder folder_{FAILING_CTL, TOOL};
    const Environment environment_{"TMPDIR=" + folder_.file("tmp").string()};
};

}  // namespace texprobe::tests

#endif
