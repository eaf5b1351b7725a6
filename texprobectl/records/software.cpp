#include "records/software.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace texprobe::ctl {

namespace {

// Zink and d3d12 name the renderer below them. "lavapipe" draws with llvmpipe, and says so.
constexpr std::string_view kSoftware[] = {
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

/// The case differs from version to version.
bool has_text(std::string_view text, std::string_view part) {
    return std::search(text.begin(), text.end(), part.begin(), part.end(),
                       [](unsigned char a, unsigned char b) {
                           return std::tolower(a) == std::tolower(b);
                       }) != text.end();
}

}  // namespace

std::optional<std::string> software_named_in(const std::string& renderer) {
    const auto* found =
        std::find_if(std::begin(kSoftware), std::end(kSoftware),
                     [&](std::string_view name) { return has_text(renderer, name); });
    if (found == std::end(kSoftware)) return std::nullopt;
    return std::string(*found);
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
