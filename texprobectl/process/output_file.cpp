#include "process/output_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <streambuf>
#include <utility>

namespace texprobe::ctl {

namespace {

[[noreturn]] void fail(const std::string& path, int error) {
    throw std::runtime_error("cannot write " + path + ": " + std::strerror(error));
}

void write_into(const std::string& path, const std::function<void(std::ostream&)>& write) {
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    if (!stream) fail(path, errno);
    write(stream);
    stream.close();
    if (!stream) fail(path, errno);
}

/// A stream into an open file: those of the library open theirs by name.
class DescriptorBuffer : public std::streambuf {
public:
    explicit DescriptorBuffer(int descriptor) : descriptor_(descriptor) {
        setp(buffer_.data(), buffer_.data() + buffer_.size());
    }

protected:
    int_type overflow(int_type character) override {
        if (sync() != 0) return traits_type::eof();
        if (traits_type::eq_int_type(character, traits_type::eof())) return 0;
        return sputc(traits_type::to_char_type(character));
    }
    int sync() override {
        for (const char* at = pbase(); at != pptr();) {
            const ssize_t written = ::write(descriptor_, at, static_cast<std::size_t>(pptr() - at));
            if (written < 0 && errno != EINTR) return -1;
            if (written > 0) at += written;
        }
        setp(buffer_.data(), buffer_.data() + buffer_.size());
        return 0;
    }

private:
    const int descriptor_;
    std::array<char, 65536> buffer_;
};

/// The modes that the file at `path` has, or that a new one gets.
mode_t modes_at(const std::string& path) {
    struct stat old = {};
    if (stat(path.c_str(), &old) == 0) return old.st_mode & 0777U;
    const mode_t mask = umask(0);
    umask(mask);
    return 0666U & ~mask;
}

/// A new file beside `place`, so that it can take its place. Its name is new: mkstemp follows
/// no link and opens no file that is there. It is removed unless it was renamed.
class Draft {
public:
    Draft(const std::string& place, const std::string& path)
        : path_(path), name_(std::filesystem::path(place).replace_filename(".texprobectl.XXXXXX")) {
        descriptor_ = mkstemp(name_.data());
        if (descriptor_ < 0) fail(path, errno);
    }
    ~Draft() {
        if (descriptor_ >= 0) close(descriptor_);
        if (!name_.empty()) std::remove(name_.c_str());
    }
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;

    void write(const std::function<void(std::ostream&)>& write) {
        DescriptorBuffer buffer(descriptor_);
        std::ostream stream(&buffer);
        write(stream);
        if (!stream.flush()) fail(path_, errno);
    }
    /// Only once its content is on disk: the old file is whole after a power cut, or the new one.
    void rename_to(const std::string& place) {
        if (fchmod(descriptor_, modes_at(place)) != 0) fail(path_, errno);
        if (fsync(descriptor_) != 0) fail(path_, errno);
        if (close(std::exchange(descriptor_, -1)) != 0) fail(path_, errno);
        if (std::rename(name_.c_str(), place.c_str()) != 0) fail(path_, errno);
        name_.clear();
    }

private:
    const std::string path_;
    std::string name_;
    int descriptor_ = -1;
};

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
        write_into(path, write);
        return;
    }
    // A link stays one.
    const std::filesystem::path target = std::filesystem::weakly_canonical(path, error);
    const std::string place = error ? path : target.string();
    Draft draft(place, path);
    draft.write(write);
    draft.rename_to(place);
}

}  // namespace texprobe::ctl
