// A machine laid out in a temporary folder: the part of sysfs that the platform layer reads.

#ifndef TEXPROBE_TESTS_LAID_OUT_MACHINE_H
#define TEXPROBE_TESTS_LAID_OUT_MACHINE_H

#include <filesystem>
#include <string>
#include <vector>

#include "support/scratch_folder.h"

namespace texprobe::tests {

class LaidOutMachine {
public:
    std::filesystem::path sysfs() const { return folder_.path(); }

    void add_connector(const std::string& name, const std::string& status,
                       const std::string& enabled) const;

    /// A GPU in a slot such as "pci0000:00/0000:01:00.0", with its DRM nodes, laid out as by the
    /// kernel: the nodes' entries are links into the device's directory.
    void add_gpu(const std::string& slot, const std::vector<std::string>& nodes,
                 const std::string& vendor, const std::string& device,
                 const std::string& driver) const;

    /// A file in the directory of the GPU in `slot`.
    void write_attribute(const std::string& slot, const std::string& name,
                         const std::string& text) const;

private:
    ScratchFolder folder_;
};

}  // namespace texprobe::tests

#endif
