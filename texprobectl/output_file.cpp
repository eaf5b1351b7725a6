#include "output_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace texprobe::ctl {

namespace {

[[noreturn]] void fail(const std::string& path, int error) {
    throw std::runtime_error("cannot write " + path + ": " + std::strerror(error));
}

}  // namespace

void write_output(const std::string& path, const std::function<void(std::ostream&)>& write) {
    errno = 0;
    if (path.empty() || path == "-") {
        write(std::cout);
        if (!std::cout.flush()) fail("to standard output", errno);
        return;
    }
    // In the same folder, so that it can take the place of the old one.
    const std::string draft = path + "." + std::to_string(getpid());
    std::ofstream stream(draft, std::ios::binary | std::ios::trunc);
    if (!stream) fail(path, errno);
    write(stream);
    stream.close();
    if (!stream || std::rename(draft.c_str(), path.c_str()) != 0) {
        const int error = errno;
        std::remove(draft.c_str());
        fail(path, error);
    }
}

}  // namespace texprobe::ctl
