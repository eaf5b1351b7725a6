// An inspection as pictures, and as files.

#ifndef TEXPROBECTL_PICTURES_H
#define TEXPROBECTL_PICTURES_H

#include <string>

#include "inspect/inspect.h"

namespace texprobe::ctl {

/// PNG files, each 128 by 128 pixels of 8 bits, the image's first row on top.
struct Pictures {
    std::string sent;
    std::string returned;
    /// The distance of the returned image from OpenGL's definition; alpha's is in every colour.
    std::string difference;
    /// By how much the difference is multiplied: the largest one is as bright as it can be.
    double amplification = 1.0;
};

/// Throws std::runtime_error when libpng fails.
Pictures draw_pictures(const Evidence& evidence);

/// Writes sent, returned and difference.png, sent and returned.raw and layout.txt; a folder that is
/// missing is made. Throws std::runtime_error, one line.
void write_pictures(const Inspection& inspection, const std::string& folder);

}  // namespace texprobe::ctl

#endif
