// Replaces the tool: writes the complete records of one scripted renderer beside itself, and
// appends a line to the file "runs" each time it starts.

#include <filesystem>
#include <fstream>

#include "records_of_test.h"
#include "scripted_records.h"

int main(int argc, char** /*argv*/) {
    using namespace texprobe::tests;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    std::ofstream(folder / "runs", std::ios::app) << argc << " argument\n";
    use_records_in(folder / "records");
    write_identity(kScriptedApplication, kScriptedVendor, kScriptedVersion, kScriptedRenderer);
    write_boolean(kScriptedApplication, "GL_RGB16F_ARB_SUPPORTED", true);
    return 0;
}
