/* Loads the library, opens the verdicts with the given tool, unloads it, and outlives that tool.
 * Usage: unload LIBRARY TOOL */

#include <TexProbeVerdicts.h>
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "compatibility_context.h"

int main(int argc, char** argv) {
    if (argc != 3 || !open_compatibility_context()) return 2;
    void* library = dlopen(argv[1], RTLD_NOW);
    texprobe_verdicts* (*open_verdicts)(const texprobe_options*) = NULL;
    /* C has no conversion of an object's address to a function's. */
    void* symbol = library ? dlsym(library, "texprobe_verdicts_open") : NULL;
    memcpy(&open_verdicts, &symbol, sizeof symbol);
    texprobe_options options = {sizeof options, argv[2], 0, NULL, NULL, 0, NULL};
    if (!symbol || !open_verdicts(&options)) {
        if (library) dlclose(library);
        return 3;
    }
    if (dlclose(library) != 0) return 4;
    usleep(500000);
    return 0;
}
