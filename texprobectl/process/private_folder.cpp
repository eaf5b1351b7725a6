#include "process/private_folder.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace texprobe::ctl {

PrivateFolder::PrivateFolder() {
    std::error_code error;
    const std::filesystem::path parent = std::filesystem::temp_directory_path(error);
    if (error) {
        throw std::runtime_error("there is no folder for temporary files: " + error.message() +
                                 "; set TMPDIR to one");
    }
    std::string name = parent / "texprobectl.XXXXXX";
    if (!mkdtemp(name.data())) {
        throw std::runtime_error("cannot make a folder in " + parent.string() + ": " +
                                 std::strerror(errno));
    }
    path_ = name;
}

PrivateFolder::~PrivateFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

}  // namespace texprobe::ctl
