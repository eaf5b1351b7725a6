#include "laid_out_machine.h"

#include "support/text.h"

namespace texprobe::tests {

namespace fs = std::filesystem;

void LaidOutMachine::add_connector(const std::string& name, const std::string& status,
                                   const std::string& enabled) const {
    const fs::path directory = sysfs() / "class/drm" / name;
    fs::create_directories(directory);
    write_file(directory / "status", status + '\n');
    write_file(directory / "enabled", enabled + '\n');
}

void LaidOutMachine::add_gpu(const std::string& slot, const std::vector<std::string>& nodes,
                             const std::string& vendor, const std::string& device,
                             const std::string& driver) const {
    const fs::path gpu = sysfs() / "devices" / slot;
    const fs::path drivers = sysfs() / "bus/pci/drivers" / driver;
    fs::create_directories(gpu);
    fs::create_directories(drivers);
    fs::create_directories(sysfs() / "class/drm");
    if (!vendor.empty()) write_attribute(slot, "vendor", vendor + '\n');
    if (!device.empty()) write_attribute(slot, "device", device + '\n');
    fs::create_directory_symlink(drivers, gpu / "driver");
    for (const std::string& node : nodes) {
        fs::create_directories(gpu / "drm" / node);
        fs::create_directory_symlink("../..", gpu / "drm" / node / "device");
        fs::create_directory_symlink(fs::path("../../devices") / slot / "drm" / node,
                                     sysfs() / "class/drm" / node);
    }
}

void LaidOutMachine::write_attribute(const std::string& slot, const std::string& name,
                                     const std::string& text) const {
    write_file(sysfs() / "devices" / slot / name, text);
}

}  // namespace texprobe::tests
