// A store that cannot be read is not taken for one without records, and nothing recorded is no
// success of a command that needs records.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "ctl/ctl_folder.h"
#include "ctl/prepared_records.h"

namespace texprobe::tests {
namespace {

const std::string kLostID = kIDPrefix + "abcd1234.build-9";

/// Every file below the folder of the records, and its bytes.
std::map<std::string, std::string> bytes_below(const std::filesystem::path& folder) {
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        files[entry.path()] = entry.is_regular_file() ? read_file(entry.path()) : "";
    }
    return files;
}

class StoreTrouble : public testing::Test {
protected:
    void SetUp() override {
        folder_.prepare(SCRIPTED_TOOL, complete_set(kLostID, "1.0"));
        write_file(folder_.file("good.json"), folder_.ctl({"export"}).out);
    }

    /// Every command that needs the records, on a store of which `reason` is said.
    void expect_refusals(const std::string& reason) const {
        const auto records = bytes_below(folder_.file("records"));
        const std::string good = read_file(folder_.file("good.json"));
        const std::vector<std::string> commands[] = {{"list"},
                                                     {"list", "--json"},
                                                     {"show"},
                                                     {"show", "--json"},
                                                     {"show", "1"},
                                                     {"compare"},
                                                     {"compare", "1", folder_.file("good.json")},
                                                     {"export"},
                                                     {"export", "-o", folder_.file("good.json")},
                                                     {"report", "-o", folder_.file("good.json")},
                                                     {"forget", "--all", "--yes"},
                                                     {"forget", "--outdated", "--yes"},
                                                     {"time", "--within", "1"},
                                                     {"inspect", "GL_RGBA8", "set"}};
        for (const auto& command : commands) {
            const Finished run = folder_.ctl(command);
            EXPECT_TRUE(run.exited_with(2)) << command.front();
            EXPECT_EQ(run.out, "") << command.front();
            EXPECT_EQ(run.err,
                      "texprobectl: the records cannot be read: cannot use " + reason + "\n")
                << command.front();
        }
        EXPECT_EQ(bytes_below(folder_.file("records")), records);
        EXPECT_EQ(read_file(folder_.file("good.json")), good);
    }

    CtlFolder folder_{CTL, SCRIPTED_TOOL};
};

TEST_F(StoreTrouble, of_random_bytes_is_said_and_no_file_is_touched) {
    std::string bytes;
    for (unsigned i = 0; i < 8192; ++i) bytes += static_cast<char>(i * 2654435761U >> 13);
    write_file(folder_.database(), bytes);
    expect_refusals(folder_.database().string() + ": file is not a database");
}

TEST_F(StoreTrouble, of_a_folder_in_the_place_of_the_store_is_said) {
    std::filesystem::remove_all(folder_.file("records"));
    std::filesystem::create_directories(folder_.database());
    expect_refusals(folder_.database().string() + ": it is not a regular file");
}

TEST_F(StoreTrouble, of_modes_that_forbid_it_is_said) {
    if (geteuid() == 0) GTEST_SKIP() << "nothing is forbidden to root";
    std::filesystem::permissions(folder_.database(), std::filesystem::perms::none);
    expect_refusals(folder_.database().string() + ": Permission denied");
}

TEST_F(StoreTrouble, keeps_nobody_from_reading_files) {
    write_file(folder_.database(), std::string(4096, 'x'));
    const std::string good = folder_.file("good.json");
    EXPECT_TRUE(folder_.ctl({"compare", good, good}).exited_with(0));
    EXPECT_TRUE(folder_.ctl({"merge", good}).exited_with(0));
    EXPECT_TRUE(folder_.ctl({"report", good, "-o", folder_.file("page.html")}).exited_with(0));
}

TEST_F(StoreTrouble, is_not_needed_for_nothing_to_be_no_success) {
    std::filesystem::remove_all(folder_.file("records"));
    write_file(folder_.file("old.json"), "old");
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"show"},
         "nothing is recorded for this machine's present build; `texprobectl measure` measures it"},
        {{"show", "--json"},
         "nothing is recorded for this machine's present build; `texprobectl measure` measures it"},
        {{"export"}, "there is no record set to export"},
        {{"export", "--present"}, "there is no record set to export"},
        {{"export", "-o", folder_.file("old.json")}, "there is no record set to export"},
        {{"report", "-o", folder_.file("old.json")}, "there is no record set to report on"}};
    for (const auto& [command, line] : cases) {
        const Finished run = folder_.ctl(command);
        EXPECT_TRUE(run.exited_with(2)) << line;
        EXPECT_EQ(run.err, "texprobectl: " + line + "\n");
        EXPECT_EQ(run.out, "");
    }
    EXPECT_EQ(read_file(folder_.file("old.json")), "old");
    // A list may be empty.
    const Finished list = folder_.ctl({"list", "--json"});
    EXPECT_TRUE(list.exited_with(0));
    EXPECT_TRUE(nlohmann::json::parse(list.out)["record_sets"].empty());
}

}  // namespace
}  // namespace texprobe::tests
