#include "records/software.h"

#include <string.h>

namespace texprobe::ctl {

namespace {

// Zink and d3d12 name the renderer below them. "lavapipe" draws with llvmpipe, and says so.
// In any case, which differs from version to version.
constexpr const char* kSoftware[] = {
    "llvmpipe",
    "softpipe",
    "lavapipe",
    "SwiftShader",
    "OpenSWR",
    "Software Rasterizer",
    "Apple Software Renderer",
    "Generic Software",
    "Microsoft Basic Render Driver",
    "GDI Generic",
};

}  // namespace

std::optional<std::string> software_named_in(const std::string& renderer) {
    for (const char* name : kSoftware) {
        if (strcasestr(renderer.c_str(), name)) return name;
    }
    return std::nullopt;
}

std::string trouble_without_hardware(const std::vector<NamedRenderer>& renderers) {
    if (renderers.empty()) return "no hardware was measured: there is no renderer";
    std::string names;
    for (const NamedRenderer& renderer : renderers) {
        if (!renderer.isSoftware) return {};
        names += (names.empty() ? "" : "; ") + renderer.name;
    }
    return "no hardware was measured, only software: " + names;
}

}  // namespace texprobe::ctl
