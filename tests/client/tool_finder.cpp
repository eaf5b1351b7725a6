// Prints where an application finds the tool, and the survey: as a program, after it has become for
// real whom its file makes it, root where "root" is asked for; as a library, wherever that was
// loaded from.

#include "runs/tool_path.h"

#include <unistd.h>

#include <cstdio>

#ifdef TEXPROBE_TOOL_FROM_LIBRARY

extern "C" __attribute__((visibility("default"))) const char* texprobe_installed_tool() {
    static const std::string path = texprobe::installed_tool();
    return path.c_str();
}

#else

int main(int argc, char**) {
    const uid_t user = geteuid();
    if (argc > 1 && user != 0) return 2;
    const gid_t group = getegid();
    if (setresgid(group, group, group) != 0 || setresuid(user, user, user) != 0) return 3;
    std::puts(texprobe::find_tool(nullptr).c_str());
    std::puts(texprobe::describe_search().c_str());
    std::puts(texprobe::find_survey(nullptr).c_str());
}

#endif
