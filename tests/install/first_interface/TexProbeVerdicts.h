/* What the renderer of the current OpenGL context really does with sixteen texture formats, as
   measured by the texprobe tool: for any context, without waiting, and with reasons. C11 and C++11;
   the C functions are the binary interface. */

#ifndef QOR_TEXPROBE_VERDICTS_H
#define QOR_TEXPROBE_VERDICTS_H

#include <stddef.h>

#define TEXPROBE_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/* The verdicts on one renderer. Any thread may ask at any time; only texprobe_verdicts_wait
 * blocks. */
typedef struct texprobe_verdicts texprobe_verdicts;

typedef enum {
    TEXPROBE_MEASURING, /* the tool runs, and another state will come */
    TEXPROBE_READY,     /* the answers are there */
    TEXPROBE_FAILED     /* there will be none; texprobe_verdicts_reason says why */
} texprobe_state;

/* Unknown is never no: the verdict has no record. */
typedef enum { TEXPROBE_UNKNOWN = -1, TEXPROBE_NO = 0, TEXPROBE_YES = 1 } texprobe_answer;

typedef enum {
    TEXPROBE_SUPPORTED,    /* a texture of the format can be created */
    TEXPROBE_RENDERABLE,   /* the format can be a render target */
    TEXPROBE_UPLOAD_SET,   /* filled from a pixel buffer object, glTexSubImage2D */
    TEXPROBE_UPLOAD_RESET, /* defined from a pixel buffer object, glTexImage2D */
    TEXPROBE_DOWNLOAD_GET, /* read into a pixel buffer object, glGetTexImage */
    TEXPROBE_DOWNLOAD_READ /* read into a pixel buffer object, glReadPixels */
} texprobe_capability;

typedef struct {
    size_t size;            /* sizeof(texprobe_options): the structure may grow. If it is forgotten
                               and another field is set, the state is FAILED. */
    const char* tool;       /* NULL: the one installed with this library, else the first in PATH */
    int test_time_limit_ms; /* 0: 60,000; less than 10,000 is 10,000. A test that it ends is
                               recorded as a no, for all of the user's applications. */
    /* Called with each line of the tool, and with messages of this library; on a thread of its
       own, never two calls at a time for one texprobe_verdicts. It must not close the verdicts, and
       must not throw. NULL: nothing is written anywhere. */
    void (*log)(void* user, const char* line);
    void* user;
} texprobe_options;

/* Looks for the verdicts on the current context's renderer; if there are none, or another run of
   the tool is at work on them, has the tool measure in the background. Call it on the thread whose
   context is current, outside glBegin and glEnd. It takes as long as the lookup, and neither the
   context's state nor its pending error changes. NULL options are all zero. The tool gets the
   environment of now. NULL only without memory. */
TEXPROBE_EXPORT texprobe_verdicts* texprobe_verdicts_open(const texprobe_options* options);

/* Waits until it is no longer MEASURING, or the time is over, and tells the state. 0: look; -1:
   until it is over. When the verdicts are closed meanwhile, it returns at once. */
TEXPROBE_EXPORT texprobe_state texprobe_verdicts_wait(texprobe_verdicts* verdicts,
                                                      int milliseconds);

/* How much of this machine is measured: 0 to 1. It never falls, and is 1 only when READY. */
TEXPROBE_EXPORT double texprobe_verdicts_progress(const texprobe_verdicts* verdicts);

/* One line, valid until close. FAILED: why. MEASURING: what it waits for. READY: "", or which
   verdicts are UNKNOWN because two renderers carry the strings of this context and differ, or why
   the verdicts could not be recorded and will be measured again. */
TEXPROBE_EXPORT const char* texprobe_verdicts_reason(const texprobe_verdicts* verdicts);

/* UNKNOWN until READY, without a record, and for any format or capability that is none of these. */
TEXPROBE_EXPORT texprobe_answer texprobe_verdicts_answer(const texprobe_verdicts* verdicts,
                                                         unsigned internal_format,
                                                         texprobe_capability capability);

/* Ends a tool that still runs, which takes about 3 seconds at most, and frees the verdicts. No log
   after it. Any thread may call it, once, also at exit; no context need be current. */
TEXPROBE_EXPORT void texprobe_verdicts_close(texprobe_verdicts* verdicts);

/* The sixteen formats by index: "GL_RGBA8" and 0x8058, for example. Past the last one: NULL and 0.
 */
TEXPROBE_EXPORT size_t texprobe_format_count(void);
TEXPROBE_EXPORT const char* texprobe_format_name(size_t index);
TEXPROBE_EXPORT unsigned texprobe_format_value(size_t index);

#ifdef __cplusplus
} /* extern "C" */

namespace qor {

/// The same as an object. Everything is inline: nothing of it depends on the library's compiler,
/// nor on whether the application has exceptions. Without memory it is FAILED.
class TexProbeVerdicts {
public:
    explicit TexProbeVerdicts(const texprobe_options* options = nullptr)
        : verdicts_(texprobe_verdicts_open(options)) {}
    ~TexProbeVerdicts() { texprobe_verdicts_close(verdicts_); }
    TexProbeVerdicts(const TexProbeVerdicts&) = delete;
    TexProbeVerdicts& operator=(const TexProbeVerdicts&) = delete;

    texprobe_state wait(int milliseconds = -1) {
        return texprobe_verdicts_wait(verdicts_, milliseconds);
    }
    texprobe_state state() { return wait(0); }
    double progress() const { return texprobe_verdicts_progress(verdicts_); }
    const char* reason() const { return texprobe_verdicts_reason(verdicts_); }
    texprobe_answer answer(unsigned internalFormat, texprobe_capability capability) const {
        return texprobe_verdicts_answer(verdicts_, internalFormat, capability);
    }

private:
    texprobe_verdicts* verdicts_;
};

}  // namespace qor
#endif

#endif
