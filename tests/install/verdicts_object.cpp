// An application in C++11: prints the verdicts on GL_RGBA8 for a compatibility context, or why
// there are none.

#include <TexProbeVerdicts.h>
#include <stdio.h>

#include "compatibility_context.h"

int main() {
    if (!open_compatibility_context()) return 2;
    qor::TexProbeVerdicts verdicts;
    if (verdicts.wait() != TEXPROBE_READY) return printf("%s\n", verdicts.reason()) < 0;
    printf("GL_RGBA8:");
    for (int i = 0; i < 6; ++i) {
        printf(" %d", verdicts.answer(0x8058, static_cast<texprobe_capability>(i)));
    }
    printf("\n");
}
