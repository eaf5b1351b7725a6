// The diagnosis that a person sends with a problem. Names no user and no host.

#ifndef TEXPROBECTL_DOCTOR_H
#define TEXPROBECTL_DOCTOR_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "records/machine.h"

namespace texprobe::ctl {

struct ExaminedRenderer : Opening {
    std::string rendererID;
    /// It draws on the processor.
    bool isSoftware = false;
    /// The lines that the driver and the platform wrote meanwhile.
    std::vector<std::string> messages;
};

struct ExaminedStore {
    std::string place;
    bool exists = false;
    bool isOwn = false;
    /// Octal, of the folder and of the file.
    std::string folderMode;
    std::string fileMode;
    std::size_t bytes = 0;
    /// "good", or its fault.
    std::string health;
};

struct Diagnosis {
    std::string version;
    std::string system;
    std::string systemBuild;
    std::string tool;
    std::size_t displays = 0;
    std::string trouble;
    std::vector<ExaminedRenderer> renderers;
    ExaminedStore store;
    std::size_t recordSets = 0;
    /// The process that measures now; 0 for none.
    int measuring = 0;
    std::vector<std::pair<std::string, std::string>> variables;
};

/// Opens the renderer in a process of its own.
ExaminedRenderer examine_renderer(const std::string& self, std::uint32_t id);

/// `self` opens each renderer in a process of its own, so that a driver that dies or hangs is a
/// finding, not the end.
Diagnosis examine(const std::string& self, const std::string& tool);

/// The task of the child that opens a renderer: the renderer's ID is its argument.
inline constexpr const char* kOpenTask = "open";
int open_for_doctor(const std::vector<std::string>& arguments);

/// The place and the state of the preferences. The system decides, so each has its file.
ExaminedStore examine_store();

}  // namespace texprobe::ctl

#endif
