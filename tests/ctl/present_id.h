// The record set that a test can have of this machine.

#ifndef TEXPROBE_TESTS_PRESENT_ID_H
#define TEXPROBE_TESTS_PRESENT_ID_H

#include <nlohmann/json.hpp>
#include <string>

#include "ctl/ctl_folder.h"

namespace texprobe::tests {

/// The identifier of this machine's first renderer under its present build.
inline std::string present_id(const std::filesystem::path& ctl, const std::filesystem::path& tool,
                              const Environment& environment = {}) {
    const CtlFolder folder(ctl, tool);
    const auto doctor = nlohmann::json::parse(folder.ctl({"doctor", "--json"}, environment).out);
    std::string id = "org.texprobe.texprobe2.";
    id += doctor.at("renderers").at(0).at("renderer_id").get<std::string>();
    return id + '.' + doctor.at("system_build").get<std::string>();
}

}  // namespace texprobe::tests

#endif
