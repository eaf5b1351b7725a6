#include "process/processes.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace texprobe::ctl {

namespace {

std::string read_link(const std::string& link) {
    std::error_code error;
    const auto target = std::filesystem::read_symlink(link, error);
    return error ? std::string() : target.string();
}

}  // namespace

std::string own_program() {
    return read_link("/proc/self/exe");
}

/// When it was started, in which process namespace, since which start of the system.
std::string identity_of_process(int process) {
    std::string text;
    std::getline(std::ifstream("/proc/" + std::to_string(process) + "/stat"), text);
    // The name before it may contain anything.
    const std::size_t name = text.rfind(')');
    if (name == std::string::npos) return {};
    std::istringstream fields(text.substr(name + 1));
    constexpr int kBetween = 18;
    std::string state;
    std::string begin;
    fields >> state;
    for (int i = 0; i <= kBetween; ++i) fields >> begin;
    if (!fields || state == "Z" || state == "X") return {};
    std::string boot;
    std::ifstream("/proc/sys/kernel/random/boot_id") >> boot;
    return begin + ' ' + read_link("/proc/self/ns/pid") + ' ' + boot;
}

}  // namespace texprobe::ctl
