// The record set that a test can have of this machine.

#ifndef TEXPROBE_TESTS_PRESENT_ID_H
#define TEXPROBE_TESTS_PRESENT_ID_H

#include <nlohmann/json.hpp>
#include <string>

#include "ctl/ctl_folder.h"

namespace texprobe::tests {

/// The identifier of this machine's first renderer under its present build, which the real tool is
/// run for.
inline std::string present_id(const std::filesystem::path& ctl, const std::filesystem::path& tool) {
    const CtlFolder folder(ctl, tool);
    folder.ctl({"measure"});
    return nlohmann::json::parse(folder.ctl({"export"}).out).at("record_sets").at(0).at("id");
}

}  // namespace texprobe::tests

#endif
