#include "laid_out_machine.h"

namespace texprobe::tests {

namespace fs = std::filesystem;

void LaidOutMachine::add_connector(const std::string& name, const std::string& status,
                                   const std::string& enabled) const {
    const fs::path directory = fs::path("class/drm") / name;
    folder_.write(directory / "status", status + '\n');
    folder_.write(directory / "enabled", enabled + '\n');
}

void LaidOutMachine::add_gpu(const std::string& slot, const std::vector<std::string>& nodes,
                             const std::string& vendor, const std::string& device,
                             const std::string& driver) const {
    const fs::path gpu = folder_.path() / "devices" / slot;
    const fs::path drivers = folder_.path() / "bus/pci/drivers" / driver;
    fs::create_directories(gpu);
    fs::create_directories(drivers);
    fs::create_directories(folder_.path() / "class/drm");
    if (!vendor.empty()) write_attribute(slot, "vendor", vendor + '\n');
    if (!device.empty()) write_attribute(slot, "device", device + '\n');
    fs::create_directory_symlink(drivers, gpu / "driver");
    for (const std::string& node : nodes) {
        fs::create_directories(gpu / "drm" / node);
        fs::create_directory_symlink("../..", gpu / "drm" / node / "device");
        fs::create_directory_symlink(fs::path("../../devices") / slot / "drm" / node,
                                     folder_.path() / "class/drm" / node);
    }
}

void LaidOutMachine::write_attribute(const std::string& slot, const std::string& name,
                                     const std::string& text) const {
    folder_.write(fs::path("devices") / slot / name, text);
}

}  // namespace texprobe::tests
