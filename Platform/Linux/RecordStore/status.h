// How an operation of the record store ended.

#ifndef TEXPROBE_PLATFORM_STATUS_H
#define TEXPROBE_PLATFORM_STATUS_H

#include <cstring>
#include <string>
#include <utility>

namespace texprobe::platform {

/// Every function in this folder that may fail returns one.
struct [[nodiscard]] Status {
    enum Kind {
        kOk,
        kLocked,   ///< In use by another process. Trying again may help.
        kDamaged,  ///< SQLite calls the file corrupt, or no database.
        kUnusable  ///< Everything else: no room, no permission, not our file.
    };
    Kind kind = kOk;
    std::string path = {};
    std::string reason = {};

    bool ok() const { return kind == kOk; }

    /// A failed system call, described by its errno.
    static Status system(std::string path, int error) {
        return {kUnusable, std::move(path), std::strerror(error)};
    }
};

}  // namespace texprobe::platform

#endif
