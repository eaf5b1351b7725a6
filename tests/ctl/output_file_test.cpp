// -o: the file is there whole or as it was, keeps its modes, and nobody else's file is touched.

#include "process/output_file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

#include "support/text.h"

namespace texprobe::tests {
namespace {

namespace fs = std::filesystem;

class OutputFile : public testing::Test {
protected:
    OutputFile() {
        std::string name = fs::temp_directory_path() / "output-file.XXXXXX";
        folder_ = mkdtemp(name.data());
    }
    ~OutputFile() override { fs::remove_all(folder_); }

    static void write(const fs::path& file, const std::string& text) {
        ctl::write_output(file, [&](std::ostream& stream) { stream << text; });
    }
    static mode_t mode_of(const fs::path& file) {
        struct stat status = {};
        EXPECT_EQ(stat(file.c_str(), &status), 0) << file;
        return status.st_mode & 07777U;
    }
    std::size_t files() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder_), fs::directory_iterator()));
    }

    fs::path folder_;
};

TEST_F(OutputFile, keeps_the_modes_of_the_old_one) {
    const fs::path file = folder_ / "a.json";
    for (const mode_t mode : {0600U, 0640U, 0666U, 0755U}) {
        write_file(file, "old");
        ASSERT_EQ(chmod(file.c_str(), mode), 0);
        write(file, "new");
        EXPECT_EQ(mode_of(file), mode);
        EXPECT_EQ(read_file(file), "new");
    }
}

TEST_F(OutputFile, that_is_new_has_the_modes_of_any_new_file) {
    const mode_t before = umask(027);
    write(folder_ / "a.json", "new");
    umask(before);
    EXPECT_EQ(mode_of(folder_ / "a.json"), 0640U);
}

TEST_F(OutputFile, may_have_the_longest_name_that_there_is) {
    const fs::path file = folder_ / std::string(255, 'x');
    write(file, "new");
    EXPECT_EQ(read_file(file), "new");
    EXPECT_EQ(files(), 1U);
}

TEST_F(OutputFile, that_fails_is_as_it_was_and_leaves_no_draft) {
    const fs::path file = folder_ / "a.json";
    write_file(file, "old");
    // One byte fits.
    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit tiny = {1, before.rlim_max};
    const auto action = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tiny), 0);
    EXPECT_THROW(write(file, "new"), std::runtime_error);
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, action);
    EXPECT_EQ(read_file(file), "old");
    EXPECT_EQ(files(), 1U);
}

}  // namespace
}  // namespace texprobe::tests
