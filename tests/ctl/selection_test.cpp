// Which record set a command means.

#include "commands/selection.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "documents/document.h"
#include "records/software.h"
#include "support/text.h"

namespace texprobe::tests {
namespace {

ctl::RecordSet set_named(const std::string& id, bool isPresent) {
    ctl::RecordSet set;
    set.id = id;
    set.isPresent = isPresent;
    return set;
}

TEST(OnlyPresentSet, is_found_among_those_of_other_builds_or_has_to_be_chosen) {
    const auto found = [](const ctl::RecordSets& sets) {
        try {
            return ctl::only_present_set(sets).id;
        } catch (const ctl::UsageError& error) {
            return std::string(error.what());
        }
    };
    EXPECT_EQ(found({set_named("old", false), set_named("new", true)}), "new");
    EXPECT_EQ(found({set_named("old", false)}),
              "nothing is recorded for this machine's present build; `texprobectl measure` "
              "measures it");
    EXPECT_EQ(found({set_named("a", true), set_named("b", true)}),
              "there are 2 record sets of this machine's present build; choose one with --set");
}

TEST(Software, is_known_by_its_names) {
    const auto named = [](const char* text) { return ctl::software_named_in(text).value_or(""); };
    EXPECT_EQ(named("llvmpipe (LLVM 15.0.6, 256 bits)"), "llvmpipe");
    EXPECT_EQ(named("zink Vulkan 1.3(llvmpipe (LLVM 15.0.6, 256 bits) (MESA_LLVMPIPE))"),
              "llvmpipe");
    EXPECT_EQ(named("softpipe"), "softpipe");
    EXPECT_EQ(named("ANGLE (Google, Vulkan 1.3.0 (SwiftShader Device (LLVM 10.0.0)))"),
              "SwiftShader");
    EXPECT_EQ(named("Google Swiftshader"), "SwiftShader");
    for (const char* gpu : {"NVIDIA H100 80GB HBM3/PCIe/SSE2", "AMD Radeon RX 6700 XT (navi22)",
                            "Mesa Intel(R) UHD Graphics 620 (KBL GT2)", ""}) {
        EXPECT_EQ(named(gpu), "") << gpu;
    }
}

TEST(Software, is_trouble_only_where_there_is_nothing_else) {
    EXPECT_EQ(ctl::trouble_without_hardware({{"softpipe", true}, {"llvmpipe (LLVM 15)", true}}),
              "no hardware was measured, only software: softpipe; llvmpipe (LLVM 15)");
    EXPECT_EQ(ctl::trouble_without_hardware({{"softpipe", true}, {"a GPU", false}}), "");
    EXPECT_EQ(ctl::trouble_without_hardware({}), "no hardware was measured: there is no renderer");
}

class FoundSet : public testing::Test {
protected:
    static ctl::RecordSet recorded(const std::string& renderer, const std::string& build) {
        ctl::RecordSet set = set_named(ctl::make_id(renderer, build), false);
        set.rendererID = renderer;
        set.systemBuild = build;
        return set;
    }
    /// Its renderer and build, or what is wrong.
    std::string found_by(const std::string& text) const {
        try {
            const ctl::RecordSet& set = ctl::find_set(text, sets_);
            return set.rendererID + " " + set.systemBuild;
        } catch (const ctl::UsageError& error) {
            return std::string(error.what()).substr(0, std::string("no record set").size());
        }
    }

    ctl::RecordSets sets_ = {recorded("20400", "6.1.0-18-abc"), recorded("abcd12", "24.2.1")};
};

TEST_F(FoundSet, is_named_by_its_number_in_the_list_or_by_a_part_of_its_identifier) {
    const std::string first = "20400 6.1.0-18-abc";
    const std::string second = "abcd12 24.2.1";
    const struct {
        const char* text;
        std::string found;
    } rows[] = {{"1", first},
                {"2", second},
                {"02", second},
                // Of no list, digits are a whole component.
                {"20400", first},
                {"24", second},
                {"0-18", first},
                {"org.texprobe.texprobe2.20400.6.1.0-18-abc", first}};
    for (const auto& row : rows) EXPECT_EQ(found_by(row.text), row.found) << row.text;
    for (const char* part : {"0", "3", "9", "18", "204", "0400", "12", "99999999999999999999999"}) {
        EXPECT_EQ(found_by(part), "no record set") << part;
    }
}

TEST_F(FoundSet, is_not_found_by_what_all_identifiers_have) {
    sets_.pop_back();
    for (const char* part : {"texprobe", "texprobe2", "org", "probe2.20400", ""}) {
        EXPECT_EQ(found_by(part), "no record set") << part;
    }
    EXPECT_EQ(found_by("."), "20400 6.1.0-18-abc");
}

TEST_F(FoundSet, that_is_named_twice_is_there_once) {
    EXPECT_EQ(ctl::find_sets({"2", "abcd", "1"}, sets_), (ctl::RecordSets{sets_[1], sets_[0]}));
}

TEST_F(FoundSet, by_a_number_is_no_file_of_that_name) {
    const auto before = std::filesystem::current_path();
    std::string folder = std::filesystem::temp_directory_path() / "selection.XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    std::filesystem::current_path(folder);
    write_file("2", "no document");
    ctl::KnownSets known([&] { return sets_; });
    EXPECT_EQ(known.find_or_read("2"), ctl::RecordSets{sets_[1]});
    EXPECT_THROW(known.find_or_read("./2"), ctl::DocumentError);
    std::filesystem::current_path(before);
    std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace texprobe::tests
