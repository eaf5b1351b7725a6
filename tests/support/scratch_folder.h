// A folder for one test, removed with everything in it.

#ifndef TEXPROBE_TESTS_SCRATCH_FOLDER_H
#define TEXPROBE_TESTS_SCRATCH_FOLDER_H

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "support/text.h"

namespace texprobe::tests {

class ScratchFolder {
public:
    ScratchFolder() {
        // In memory if possible, so that thousands of stores need not wait for a disk.
        const bool hasMemory = access("/dev/shm", W_OK | X_OK) == 0;
        std::string name = hasMemory ? "/dev/shm" : std::filesystem::temp_directory_path().string();
        name += "/texprobe-test-XXXXXX";
        if (!mkdtemp(name.data())) throw std::runtime_error("cannot make a folder for a test");
        path_ = std::filesystem::canonical(name);
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

    /// Writes a file below the folder, and creates the directories that lead to it.
    void write(const std::filesystem::path& file, const std::string& text) const {
        std::filesystem::create_directories((path_ / file).parent_path());
        write_file(path_ / file, text);
    }

private:
    std::filesystem::path path_;
};

}  // namespace texprobe::tests

#endif
