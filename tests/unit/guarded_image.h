// Memory for one image that crashes on any access outside of its bytes.

#ifndef TEXPROBE_TESTS_GUARDED_IMAGE_H
#define TEXPROBE_TESTS_GUARDED_IMAGE_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <new>

namespace texprobe::tests {

/// Of an image of 128 x 128.
constexpr std::size_t kPixels = 16384;

/// `size` zero bytes that end at an inaccessible page. If that is a whole number of pages, they
/// also begin after one.
class GuardedImage {
public:
    explicit GuardedImage(std::size_t size)
        : size_(size),
          page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
          accessible_((size + page_ - 1) / page_ * page_) {
        // cppcheck-suppress invalidFunctionArg  // Anonymous memory has no file.
        void* mapping =
            mmap(nullptr, accessible_ + 2 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapping == MAP_FAILED) throw std::bad_alloc();
        mapping_ = static_cast<unsigned char*>(mapping);
        // Systems differ in what mprotect returns for zero pages.
        if (accessible_ == 0) return;
        if (mprotect(mapping_ + page_, accessible_, PROT_READ | PROT_WRITE) != 0) {
            throw std::bad_alloc();
        }
    }
    ~GuardedImage() { munmap(mapping_, accessible_ + 2 * page_); }
    GuardedImage(const GuardedImage&) = delete;
    GuardedImage& operator=(const GuardedImage&) = delete;

    std::size_t size() const { return size_; }
    unsigned char* data() { return mapping_ + page_ + accessible_ - size_; }
    const unsigned char* data() const { return mapping_ + page_ + accessible_ - size_; }

private:
    std::size_t size_;
    std::size_t page_;
    std::size_t accessible_;
    unsigned char* mapping_ = nullptr;
};

}  // namespace texprobe::tests

#endif
