/* An application in C: prints the verdicts on GL_RGBA8 for a compatibility context, or why there
 * are none. */

#include <TexProbeVerdicts.h>
#include <stdio.h>
#include <string.h>

#include "compatibility_context.h"

int main(int argc, char** argv) {
    if (argc != 2 || (strcmp(argv[1], "context") == 0 && !open_compatibility_context())) return 2;
    texprobe_verdicts* verdicts = texprobe_verdicts_open(NULL);
    if (texprobe_verdicts_wait(verdicts, -1) == TEXPROBE_READY) {
        printf("GL_RGBA8:");
        for (int i = 0; i < 6; ++i) {
            printf(" %d", texprobe_verdicts_answer(verdicts, 0x8058, (texprobe_capability)i));
        }
        printf("\n");
    } else {
        printf("%s\n", texprobe_verdicts_reason(verdicts));
    }
    texprobe_verdicts_close(verdicts);
    return 0;
}
