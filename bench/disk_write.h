// The least that a durable record can cost: one block, written and flushed to disk.

#ifndef TEXPROBE_BENCH_DISK_WRITE_H
#define TEXPROBE_BENCH_DISK_WRITE_H

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

namespace texprobe::bench {

class DiskWrite {
public:
    /// The file is created in `folder`, and removed by the destructor.
    explicit DiskWrite(const std::string& folder) : path_(folder + "/disk_write.tmp") {
        file_ = open(path_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (file_ < 0) std::abort();
        (*this)();
    }
    ~DiskWrite() {
        close(file_);
        unlink(path_.c_str());
    }
    DiskWrite(const DiskWrite&) = delete;
    DiskWrite& operator=(const DiskWrite&) = delete;

    void operator()() {
        ++block_[0];
        const auto size = static_cast<ssize_t>(block_.size());
        if (pwrite(file_, block_.data(), block_.size(), 0) != size) std::abort();
        if (fdatasync(file_) != 0) std::abort();
    }

private:
    std::string path_;
    int file_;
    std::array<unsigned char, 4096> block_{};
};

}  // namespace texprobe::bench

#endif
