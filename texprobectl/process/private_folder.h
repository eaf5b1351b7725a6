// A folder for a command's own files, which no other user can read. It is removed at the end.

#ifndef TEXPROBECTL_PRIVATE_FOLDER_H
#define TEXPROBECTL_PRIVATE_FOLDER_H

#include <filesystem>
#include <string>

namespace texprobe::ctl {

class PrivateFolder {
public:
    /// Below the system's folder for temporary files. Throws std::runtime_error, one line.
    PrivateFolder();
    /// Removes it with all that is in it.
    ~PrivateFolder();
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path file(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

}  // namespace texprobe::ctl

#endif
