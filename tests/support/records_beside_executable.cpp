#include <RecordStore/location.h>

#include <filesystem>

namespace texprobe::platform {

std::string records_directory() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path() / "records";
}

}  // namespace texprobe::platform
