/* The C interface of the first version of TexProbeVerdicts.h: programs were compiled with it. */

#ifndef QOR_TEXPROBE_VERDICTS_H
#define QOR_TEXPROBE_VERDICTS_H

#include <stddef.h>

typedef struct texprobe_verdicts texprobe_verdicts;

typedef enum { TEXPROBE_MEASURING, TEXPROBE_READY, TEXPROBE_FAILED } texprobe_state;
typedef enum { TEXPROBE_UNKNOWN = -1, TEXPROBE_NO = 0, TEXPROBE_YES = 1 } texprobe_answer;
typedef enum {
    TEXPROBE_SUPPORTED,
    TEXPROBE_RENDERABLE,
    TEXPROBE_UPLOAD_SET,
    TEXPROBE_UPLOAD_RESET,
    TEXPROBE_DOWNLOAD_GET,
    TEXPROBE_DOWNLOAD_READ
} texprobe_capability;

typedef struct {
    size_t size;
    const char* tool;
    int test_time_limit_ms;
    void (*log)(void* user, const char* line);
    void* user;
} texprobe_options;

texprobe_verdicts* texprobe_verdicts_open(const texprobe_options* options);
texprobe_state texprobe_verdicts_wait(texprobe_verdicts* verdicts, int milliseconds);
double texprobe_verdicts_progress(const texprobe_verdicts* verdicts);
const char* texprobe_verdicts_reason(const texprobe_verdicts* verdicts);
texprobe_answer texprobe_verdicts_answer(const texprobe_verdicts* verdicts,
                                         unsigned internal_format, texprobe_capability capability);
void texprobe_verdicts_close(texprobe_verdicts* verdicts);

size_t texprobe_format_count(void);
const char* texprobe_format_name(size_t index);
unsigned texprobe_format_value(size_t index);

#endif
