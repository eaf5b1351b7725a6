#include "process/output_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace texprobe::ctl {

namespace {

[[noreturn]] void fail(const std::string& path, int error) {
    throw std::runtime_error("cannot write " + path + ": " + std::strerror(error));
}

bool write_all(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno != EINTR) return false;
        if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

/// The modes that the file at `path` has, or that a new one gets.
mode_t modes_at(const std::string& path) {
    struct stat old = {};
    if (stat(path.c_str(), &old) == 0) return old.st_mode & 0777U;
    const mode_t mask = umask(0);
    umask(mask);
    return 0666U & ~mask;
}

/// Puts a new file in the place, which `path` names.
void replace(const std::string& place, const std::string& path, std::string_view text) {
    // Its name is new: mkstemp follows no link and opens no file that is there.
    std::string draft = std::filesystem::path(place).replace_filename(".texprobectl.XXXXXX");
    const int file = mkstemp(draft.data());
    if (file < 0) fail(path, errno);
    // Only once its content is on disk: the old file is whole after a power cut, or the new one.
    const bool isOnDisk =
        write_all(file, text) && fchmod(file, modes_at(place)) == 0 && fsync(file) == 0;
    int error = isOnDisk ? 0 : errno;
    if (close(file) != 0 && error == 0) error = errno;
    if (error == 0 && std::rename(draft.c_str(), place.c_str()) != 0) error = errno;
    if (error == 0) return;
    std::remove(draft.c_str());
    fail(path, error);
}

}  // namespace

void write_output(const std::string& path, const std::function<void(std::ostream&)>& write) {
    errno = 0;
    if (path.empty() || path == "-") {
        write(std::cout);
        if (!std::cout.flush()) fail("to standard output", errno);
        return;
    }
    std::ostringstream text;
    write(text);
    std::error_code error;
    const bool isNew = !std::filesystem::exists(path, error);
    const bool isDangling = isNew && std::filesystem::is_symlink(path, error);
    if (isDangling || (!isNew && !std::filesystem::is_regular_file(path, error))) {
        std::ofstream stream(path, std::ios::binary);
        stream << text.str();
        stream.close();
        if (!stream) fail(path, errno);
        return;
    }
    // A link stays one.
    const std::filesystem::path target = std::filesystem::weakly_canonical(path, error);
    replace(error ? path : target.string(), path, text.str());
}

}  // namespace texprobe::ctl
