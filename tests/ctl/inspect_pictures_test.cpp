// The pictures of `texprobectl inspect`, in files and in the report.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>
#include <sstream>

#include "ctl/inspect_fixture.h"

namespace texprobe::tests {
namespace {

using testing::HasSubstr;

class InspectPictures : public Inspect {};

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
    fail(folder_, "GL_RGBA8", kSet, "half");
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
        const auto& [red, green, blue, alpha] = sent[i];
        const Pixel lost = {std::max(alpha, red), std::max(alpha, green), std::max(alpha, blue),
                            255};
        ASSERT_EQ(difference[i], isThere ? (Pixel{0, 0, 0, 255}) : lost) << i;
    }
}

TEST_F(InspectPictures, amplifies_small_differences_and_says_by_how_much) {
    fail(folder_, "GL_LUMINANCE16", kGet, "rounded");
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
        ASSERT_NEAR(difference[i][0], 255.0 * errors[i] / largest, 0.51) << i;
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
    fail(folder_, "GL_RGB8", kSet, "6");
    const Finished finished = inspect({"GL_RGB8", "set", "-o", folder_.file("pictures")});
    EXPECT_EQ(finished.err, "texprobectl: there are no pictures, because no image came back\n");
    EXPECT_FALSE(std::filesystem::exists(folder_.file("pictures")));
}

// The report

std::size_t count_of(const std::string& part, const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at) ++count;
    return count;
}

TEST_F(InspectPictures, report_explains_each_no_and_shows_what_the_driver_did) {
    auto document = nlohmann::ordered_json::parse(folder_.ctl({"export"}).out);
    document["record_sets"][0]["formats"][7]["upload_set"] = "no";
    write_file(folder_.file("no.json"), document.dump());
    fail(folder_, "GL_RGBA8", kSet, "exchanged");
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
    std::size_t at = 0;
    for (const char* name : {"sent.png", "returned.png", "difference.png"}) {
        const auto picture = run({"base64", {"-w", "0", folder_.file("pictures") / name}}).out;
        at = text.find("data:image/png;base64," + picture + '"', at);
        EXPECT_NE(at, std::string::npos) << name;
    }
    EXPECT_FALSE(has_left_files());

    ASSERT_TRUE(folder_.ctl({"report", "-o", page}).exited_with(0));
    EXPECT_EQ(count_of("<img ", read_file(page)), 0u);
}

TEST_F(InspectPictures, report_says_why_a_no_has_no_pictures) {
    fail(folder_, "GL_RGBA16", kSet, "6");
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
