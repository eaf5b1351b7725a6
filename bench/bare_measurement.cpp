// The least that a first run could take: the same GL work, pattern and comparison on every device,
// with nothing recorded. With a folder as its argument, one block is flushed to disk there before
// each test: recording could not cost less.

#include <cstdio>
#include <optional>

#include "disk_write.h"
#include "egl_context.h"
#include "measurement.h"

int main(int argc, char** argv) {
    std::optional<texprobe::bench::DiskWrite> write;
    if (argc == 2) write.emplace(argv[1]);
    int passed = 0;
    for (const EGLDeviceEXT device : texprobe::bench::list_devices()) {
        const texprobe::bench::EglContext context(device);
        texprobe::bench::set_up_renderer();
        passed += texprobe::bench::measure_all_formats([&] {
            if (write) (*write)();
        });
    }
    std::printf("%d tests passed\n", passed);
}
