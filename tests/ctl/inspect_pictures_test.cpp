// The pictures of `texprobectl inspect`, in files and in the report.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

#include "ctl/inspect_fixture.h"

namespace texprobe::tests {
namespace {

using testing::HasSubstr;

class InspectPictures : public Inspect {};

struct Pixel {
    int red, green, blue, alpha;
    bool operator==(const Pixel&) const = default;
};
std::ostream& operator<<(std::ostream& stream, const Pixel& pixel) {
    return stream << pixel.red << ' ' << pixel.green << ' ' << pixel.blue << ' ' << pixel.alpha;
}

/// Read by libpng, with alpha 255 where the file has none.
std::vector<Pixel> read_png(const std::filesystem::path& file) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, file.c_str()) == 0) return {};
    image.format = PNG_FORMAT_RGBA;
    EXPECT_EQ(image.width, 128u);
    EXPECT_EQ(image.height, 128u);
    std::vector<std::uint8_t> bytes(PNG_IMAGE_SIZE(image));
    png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr);
    std::vector<Pixel> pixels;
    for (std::size_t i = 0; i < bytes.size(); i += 4) {
        pixels.push_back({bytes[i], bytes[i + 1], bytes[i + 2], bytes[i + 3]});
    }
    return pixels;
}

std::vector<std::uint8_t> read_bytes(const std::filesystem::path& file) {
    const std::string text = read_file(file);
    return {text.begin(), text.end()};
}

TEST_F(InspectPictures, draws_what_was_sent_and_what_came_back) {
    const auto folder = folder_.file("pictures");
    ASSERT_TRUE(inspect({"GL_RGB8", "get", "-o", folder}).exited_with(0));
    // Blue comes first.
    const std::vector<std::uint8_t> sent = read_bytes(folder / "sent.raw");
    const std::vector<Pixel> picture = read_png(folder / "sent.png");
    ASSERT_EQ(picture.size(), 16384u);
    for (std::size_t i = 0; i < picture.size(); ++i) {
        const Pixel expected = {sent[3 * i + 2], sent[3 * i + 1], sent[3 * i], 255};
        ASSERT_EQ(picture[i], expected) << i;
    }
    EXPECT_EQ(read_png(folder / "returned.png"), picture);
    EXPECT_EQ(read_png(folder / "difference.png"), std::vector<Pixel>(16384, Pixel{0, 0, 0, 255}));
    EXPECT_EQ(read_file(folder / "returned.raw"), read_file(folder / "sent.raw"));
    EXPECT_THAT(read_file(folder / "layout.txt"),
                HasSubstr("sent.raw      GL_BGR GL_UNSIGNED_BYTE: 3 bytes a pixel; blue, green, "
                          "red\n"));
}

TEST_F(InspectPictures, draws_where_nothing_arrived) {
    inspect_with("half", "GL_RGBA8", kSet);
    const auto folder = folder_.file("pictures");
    ASSERT_TRUE(inspect({"GL_RGBA8", "set", "-o", folder}).exited_with(0));
    const std::vector<Pixel> sent = read_png(folder / "sent.png");
    const std::vector<Pixel> returned = read_png(folder / "returned.png");
    const std::vector<Pixel> difference = read_png(folder / "difference.png");
    ASSERT_EQ(difference.size(), 16384u);
    for (std::size_t i = 0; i < 16384; ++i) {
        const bool isThere = i < std::size_t{64} * 128;
        ASSERT_EQ(returned[i], isThere ? sent[i] : (Pixel{0, 0, 0, 0})) << i;
        // The difference of alpha is in every colour.
        const int least = isThere ? 0 : sent[i].alpha;
        const Pixel expected = {std::max(least, isThere ? 0 : sent[i].red),
                                std::max(least, isThere ? 0 : sent[i].green),
                                std::max(least, isThere ? 0 : sent[i].blue), 255};
        ASSERT_EQ(difference[i], expected) << i;
    }
}

TEST_F(InspectPictures, amplifies_small_differences_and_says_by_how_much) {
    inspect_with("rounded", "GL_LUMINANCE16", kGet);
    const auto folder = folder_.file("pictures");
    ASSERT_TRUE(inspect({"GL_LUMINANCE16", "get", "-o", folder}).exited_with(0));
    const std::vector<std::uint8_t> sent = read_bytes(folder / "sent.raw");
    std::vector<int> errors;
    for (std::size_t i = 0; i < 16384; ++i) {
        std::uint16_t value = 0;
        std::memcpy(&value, sent.data() + 2 * i, sizeof value);
        errors.push_back(std::abs(value - (value >> 8) * 257));
    }
    const int largest = *std::max_element(errors.begin(), errors.end());
    const std::vector<Pixel> difference = read_png(folder / "difference.png");
    for (std::size_t i = 0; i < 16384; ++i) {
        ASSERT_NEAR(difference[i].red, 255.0 * errors[i] / largest, 0.51) << i;
    }
    std::ostringstream factor;
    factor << 65535.0 / largest;
    EXPECT_THAT(read_file(folder / "layout.txt"), HasSubstr("multiplied by " + factor.str()));
}

TEST_F(InspectPictures, needs_a_place_for_the_pictures) {
    const Finished missing = inspect({"GL_RGB8", "get", "-o", folder_.file("a/b")});
    EXPECT_TRUE(missing.exited_with(2));
    EXPECT_EQ(missing.err, "texprobectl: cannot make the folder " + folder_.file("a/b").string() +
                               ": No such file or directory\n");
    write_file(folder_.file("file"), "");
    EXPECT_EQ(
        inspect({"GL_RGB8", "get", "-o", folder_.file("file")}).err,
        "texprobectl: cannot make the folder " + folder_.file("file").string() + ": File exists\n");
}

TEST_F(InspectPictures, says_that_there_are_no_pictures_where_no_image_came_back) {
    write_file(folder_.file("faults"), std::to_string(number_of("GL_RGB8")) + " 2 6\n");
    const Finished finished = inspect({"GL_RGB8", "set", "-o", folder_.file("pictures")});
    EXPECT_EQ(finished.err, "texprobectl: there are no pictures, because no image came back\n");
    EXPECT_FALSE(std::filesystem::exists(folder_.file("pictures")));
}

// The report

/// The bytes of the n-th picture in a page, decoded here.
std::string picture_in(const std::string& page, std::size_t number) {
    const std::regex pattern("data:image/png;base64,([A-Za-z0-9+/=]*)");
    auto at = std::sregex_iterator(page.begin(), page.end(), pattern);
    std::advance(at, static_cast<std::ptrdiff_t>(number));
    const std::string text = (*at)[1];
    std::string bytes;
    unsigned bits = 0;
    int count = 0;
    for (const char c : text) {
        if (c == '=') break;
        const std::string digits =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        bits = bits << 6 | static_cast<unsigned>(digits.find(c));
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes += static_cast<char>(bits >> count & 0xFF);
    }
    return bytes;
}

std::size_t count_of(const std::string& part, const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at) ++count;
    return count;
}

TEST_F(InspectPictures, report_explains_each_no_and_shows_what_the_driver_did) {
    auto document = nlohmann::ordered_json::parse(folder_.ctl({"export"}).out);
    document["record_sets"][0]["formats"][7]["upload_set"] = "no";
    write_file(folder_.file("no.json"), document.dump());
    write_file(folder_.file("faults"), std::to_string(number_of("GL_RGBA8")) + " 2 exchanged\n");
    const auto page = folder_.file("page.html");
    ASSERT_TRUE(
        folder_.ctl({"report", folder_.file("no.json"), "--pictures", "-o", page}, environment_)
            .exited_with(0));
    const std::string text = read_file(page);
    // Of eight downloads of luminance with alpha, and two uploads of 16-bit colours with alpha.
    EXPECT_EQ(count_of("which compares each alpha with the next pixel", text), 1u);
    EXPECT_EQ(count_of("which compares four channels in reversed order", text), 1u);
    EXPECT_EQ(count_of("<a href=\"#why", text), 11u);
    // Nothing is wrong with those.
    EXPECT_EQ(count_of("Red and blue are exchanged.", text), 1u);
    EXPECT_EQ(count_of("<img ", text), 3u);
    EXPECT_EQ(count_of(" width=\"256\" height=\"256\" ", text), 3u);
    inspect({"GL_RGBA8", "set", "-o", folder_.file("pictures")});
    EXPECT_EQ(picture_in(text, 0), read_file(folder_.file("pictures") / "sent.png"));
    EXPECT_EQ(picture_in(text, 1), read_file(folder_.file("pictures") / "returned.png"));
    EXPECT_EQ(picture_in(text, 2), read_file(folder_.file("pictures") / "difference.png"));
    EXPECT_FALSE(has_left_files());

    ASSERT_TRUE(folder_.ctl({"report", "-o", page}).exited_with(0));
    EXPECT_EQ(count_of("<img ", read_file(page)), 0u);
}

TEST_F(InspectPictures, report_says_why_a_no_has_no_pictures) {
    write_file(folder_.file("faults"), std::to_string(number_of("GL_RGBA16")) + " 2 6\n");
    const auto page = folder_.file("page.html");
    ASSERT_TRUE(folder_.ctl({"report", "--pictures", "-o", page}, environment_).exited_with(0));
    const std::string text = read_file(page);
    // That of GL_RGBA16 itself, and those of what comes after it.
    EXPECT_THAT(text, HasSubstr("The test was ended by SIGABRT: it was in glTexSubImage2D("));
    EXPECT_EQ(count_of("The test was not reached: that of GL_RGBA16 upload set", text), 1u);
    EXPECT_THAT(text, HasSubstr("<li>GL_RGBA16: upload reset</li>\n"
                                "<li>GL_LUMINANCE_ALPHA16F_ARB: download get, download read</li>"));
}

TEST_F(InspectPictures, report_does_not_inspect_for_the_set_of_another_machine) {
    auto document = nlohmann::ordered_json::parse(folder_.ctl({"export"}).out);
    auto& set = document["record_sets"][0];
    set["system_build"] = "1.0-other";
    set["id"] = "org.texprobe.texprobe2." + set["renderer_id"].get<std::string>() + ".1.0-other";
    write_file(folder_.file("there.json"), document.dump());
    const auto page = folder_.file("page.html");
    const Finished finished =
        folder_.ctl({"report", folder_.file("there.json"), "--pictures", "-o", page});
    ASSERT_TRUE(finished.exited_with(0)) << finished.err;
    const std::string text = read_file(page);
    EXPECT_THAT(text, HasSubstr("<p>This set cannot be inspected here: this machine "
                                "does not have this renderer under this build.</p>"));
    EXPECT_EQ(count_of("<img ", text), 0u);
}

}  // namespace
}  // namespace texprobe::tests
