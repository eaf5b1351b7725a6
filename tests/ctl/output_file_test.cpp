// -o: the file is there whole or as it was, keeps its modes, and nobody else's file is touched.

#include "process/output_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

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

TEST_F(OutputFile, leaves_alone_what_lies_in_wait_under_the_name_of_a_draft) {
    const fs::path file = folder_ / "a.json";
    const fs::path trap = file.string() + "." + std::to_string(getpid());
    write_file(folder_ / "mine", "mine");
    fs::create_symlink(folder_ / "mine", trap);
    write(file, "new");
    EXPECT_EQ(read_file(file), "new");
    EXPECT_EQ(read_file(folder_ / "mine"), "mine");
    EXPECT_TRUE(fs::is_symlink(trap));
    fs::remove(trap);
    write_file(trap, "the user's");
    write(file, "newer");
    EXPECT_EQ(read_file(file), "newer");
    EXPECT_EQ(read_file(trap), "the user's");
}

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
    EXPECT_THROW(ctl::write_output(file,
                                   [](std::ostream& stream) {
                                       stream << "half";
                                       throw std::runtime_error("no more");
                                   }),
                 std::runtime_error);
    EXPECT_EQ(read_file(file), "old");
    EXPECT_EQ(files(), 1U);
}

TEST_F(OutputFile, of_many_pieces_is_the_sum_of_them) {
    std::string text;
    ctl::write_output(folder_ / "a.json", [&](std::ostream& stream) {
        for (int i = 0; i < 40000; ++i) {
            stream << i << '\n';
            text += std::to_string(i) + '\n';
        }
        const std::string large(200000, 'y');
        stream << large;
        text += large;
    });
    EXPECT_EQ(read_file(folder_ / "a.json"), text);
}

}  // namespace
}  // namespace texprobe::tests
