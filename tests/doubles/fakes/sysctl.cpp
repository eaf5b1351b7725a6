#include <sys/sysctl.h>

#include <cstring>

#include "fakes.h"

extern "C" int sysctlbyname(const char* name, void* value, std::size_t* size, void* /*newValue*/,
                            std::size_t /*newSize*/) {
    fakes::call("sysctlbyname(%s, %s, %zu)", name, value ? "memory" : "NULL", *size);
    const std::string& build = fakes::script().build;
    *size = build.size() + 1;
    if (value) std::memcpy(value, build.c_str(), *size);
    return 0;
}
