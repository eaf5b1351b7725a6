#include "output_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace texprobe::ctl {

namespace {

[[noreturn]] void fail(const std::string& path, int error) {
    throw std::runtime_error("cannot write " + path + ": " + std::strerror(error));
}

void write_into(const std::string& file, const std::string& path,
                const std::function<void(std::ostream&)>& write) {
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    if (!stream) fail(path, errno);
    write(stream);
    stream.close();
    if (!stream) fail(path, errno);
}

}  // namespace

void write_output(const std::string& path, const std::function<void(std::ostream&)>& write) {
    errno = 0;
    if (path.empty() || path == "-") {
        write(std::cout);
        if (!std::cout.flush()) fail("to standard output", errno);
        return;
    }
    std::error_code error;
    const bool isNew = !std::filesystem::exists(path, error);
    const bool isDangling = isNew && std::filesystem::is_symlink(path, error);
    if (isDangling || (!isNew && !std::filesystem::is_regular_file(path, error))) {
        write_into(path, path, write);
        return;
    }
    // A link stays one. The draft is in the same folder, so that it can take the place of the old
    // file.
    const std::filesystem::path target = std::filesystem::weakly_canonical(path, error);
    const std::string place = error ? path : target.string();
    const std::string draft = place + "." + std::to_string(getpid());
    try {
        write_into(draft, path, write);
        if (std::rename(draft.c_str(), place.c_str()) != 0) fail(path, errno);
    } catch (...) {
        std::remove(draft.c_str());
        throw;
    }
}

}  // namespace texprobe::ctl
