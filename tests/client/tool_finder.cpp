// Prints where an application finds the tool, and the survey: as a program, after it has become
// root for real, as its file makes it; as a library, wherever that was loaded from.

#include "runs/tool_path.h"

#include <unistd.h>

#include <cstdio>

#ifdef TEXPROBE_TOOL_FROM_LIBRARY

extern "C" __attribute__((visibility("default"))) const char* texprobe_installed_tool() {
    static const std::string path = texprobe::installed_tool();
    return path.c_str();
}

#else

int main() {
    if (geteuid() != 0) return 2;
    const gid_t group = getegid();
    if (setresgid(group, group, group) != 0 || setresuid(0, 0, 0) != 0) return 3;
    std::puts(texprobe::find_tool(nullptr).c_str());
    std::puts(texprobe::find_survey(nullptr).c_str());
    std::puts(texprobe::describe_search().c_str());
}

#endif
