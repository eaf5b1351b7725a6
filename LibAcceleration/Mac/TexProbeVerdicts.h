/* What the renderer of the current OpenGL context really does with texture formats, in a context of
   this kind: for any context, without waiting, and with reasons. C11 and C++11; the C functions are
   the binary interface.

   In a compatibility context the verdicts on the sixteen formats are those of the texprobe tool; in
   core profile and OpenGL ES they are those of texprobe-survey, which opens such a context itself.
   The questions by use are answered by the survey in every context. */

#ifndef QOR_TEXPROBE_VERDICTS_H
#define QOR_TEXPROBE_VERDICTS_H

#include <stddef.h>

/* Of this header: 10,000 times the first number and 100 times the second. */
#define TEXPROBE_VERSION 2200

#define TEXPROBE_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/* The verdicts on one renderer. Any thread may ask at any time; only texprobe_verdicts_wait
 * blocks. */
typedef struct texprobe_verdicts texprobe_verdicts;

typedef enum {
    TEXPROBE_MEASURING, /* the tool or the survey runs, and another state will come */
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

/* What a texture of a format is used for. From UPLOAD on, a use has a layout: the format and the
   type of the pixels. */
typedef enum {
    TEXPROBE_CREATE,              /* glTexImage2D */
    TEXPROBE_CREATE_STORAGE,      /* glTexStorage2D */
    TEXPROBE_FILTER,              /* sampled linearly */
    TEXPROBE_MIPMAP,              /* glGenerateMipmap */
    TEXPROBE_RENDER,              /* drawn to */
    TEXPROBE_BLEND,               /* drawn to with blending */
    TEXPROBE_UPLOAD,              /* glTexSubImage2D from memory */
    TEXPROBE_UPLOAD_PART,         /* of a part, with row length, skips and alignment 1 */
    TEXPROBE_UPLOAD_PART_STORAGE, /* the same, of a texture of glTexStorage2D */
    TEXPROBE_UPLOAD_BUFFER,       /* glTexSubImage2D from a buffer */
    TEXPROBE_DEFINE_BUFFER,       /* glTexImage2D from a buffer */
    TEXPROBE_READ,                /* glReadPixels into memory */
    TEXPROBE_READ_PART,           /* the same with row length, skips and alignment 1 */
    TEXPROBE_READ_BUFFER,         /* glReadPixels into a buffer */
    TEXPROBE_GET,                 /* glGetTexImage into memory */
    TEXPROBE_GET_BUFFER           /* glGetTexImage into a buffer */
} texprobe_use;

/* Why an answer is no. */
typedef enum {
    TEXPROBE_NO_DETAIL, /* the answer is not no, or the reason is unknown */
    TEXPROBE_TOOL_RULE, /* only the tool's own comparison: the survey says yes to the same */
    TEXPROBE_WRONG,     /* no error, and other pixels: the dangerous one */
    TEXPROBE_REFUSED,   /* promised, and an error, an incomplete framebuffer or a smaller format */
    TEXPROBE_NOT_OFFERED, /* not promised, or this kind of context has no such call */
    TEXPROBE_CRASHED,     /* the process died in it */
    TEXPROBE_HUNG         /* it did not come back */
} texprobe_detail;

typedef enum {
    TEXPROBE_MEASURE_NEEDED, /* what the context needs that asks: in a compatibility context the
                                tool, in others the survey of their kind */
    TEXPROBE_MEASURE_NOTHING,
    TEXPROBE_MEASURE_ALL /* the tool, and the survey of the context's kind */
} texprobe_measure;

typedef struct {
    size_t size;            /* sizeof(texprobe_options): the structure may grow. If it is forgotten
                               and another field is set, the state is FAILED. */
    const char* tool;       /* NULL: the one installed with this library, else the first in PATH.
                               The survey's program is looked for beside it. */
    int test_time_limit_ms; /* 0: 60,000; less than 10,000 is 10,000. A test that it ends is
                               recorded as a no, for all of the user's applications. */
    /* Called with each line of the tool and the survey, and with messages of this library; on a
       thread of its own, never two calls at a time for one texprobe_verdicts. It must not close the
       verdicts, and must not throw. NULL: nothing is written anywhere. */
    void (*log)(void* user, const char* line);
    void* user;
    int measure; /* a texprobe_measure */
    /* Called once, with `user`, when the state is no longer MEASURING, or never was: on the log's
       thread, so never inside texprobe_verdicts_open. Not when the verdicts are closed while
       MEASURING, nor in a process that can have no more threads. It must not do what the log must
       not. */
    void (*done)(void* user);
} texprobe_options;

/* Of the library, as TEXPROBE_VERSION is of the header. */
TEXPROBE_EXPORT int texprobe_version(void);

/* Looks for the verdicts on the current context's renderer; if there are none, or another run is at
   work on them, has them measured in the background. Call it on the thread whose context is
   current, outside glBegin and glEnd. It takes as long as the lookup, and neither the context's
   state nor its pending error changes. NULL options are all zero. What is run gets the environment
   of now. NULL only without memory. */
TEXPROBE_EXPORT texprobe_verdicts* texprobe_verdicts_open(const texprobe_options* options);

/* Waits until it is no longer MEASURING, or the time is over, and tells the state. 0: look; -1:
   until it is over. When the verdicts are closed meanwhile, it returns at once. */
TEXPROBE_EXPORT texprobe_state texprobe_verdicts_wait(texprobe_verdicts* verdicts,
                                                      int milliseconds);

/* How much of what is needed is measured: 0 to 1. It never falls, and is 1 only when READY. */
TEXPROBE_EXPORT double texprobe_verdicts_progress(const texprobe_verdicts* verdicts);

/* One line, valid until close. FAILED: why. MEASURING: what it waits for. READY: "", or which
   verdicts are UNKNOWN because two renderers carry the strings of this context and differ, or why
   the verdicts could not be recorded and will be measured again. */
TEXPROBE_EXPORT const char* texprobe_verdicts_reason(const texprobe_verdicts* verdicts);

/* About the kind of context that was current in open, with the layout in which the tool transfers
   the format. What this kind of context does not have is NO. UNKNOWN until READY, without a record,
   and for any format or capability that is none of these. */
TEXPROBE_EXPORT texprobe_answer texprobe_verdicts_answer(const texprobe_verdicts* verdicts,
                                                         unsigned internal_format,
                                                         texprobe_capability capability);

/* Any of the survey's formats, such as 0x8D70 for GL_RGBA32UI, in this kind of context. `format`
   and `type` are the layout, such as GL_RGBA and GL_UNSIGNED_BYTE; 0 for a use without one, and for
   a compressed format. A use that needs a call that is newer than the context, which does not have
   its extension either, is NO. UNKNOWN until READY, where nothing is surveyed, and for what the
   survey does not try. */
TEXPROBE_EXPORT texprobe_answer texprobe_verdicts_use(const texprobe_verdicts* verdicts,
                                                      unsigned internal_format, unsigned format,
                                                      unsigned type, texprobe_use use);

/* The first of the survey's layouts in which uploads, of parts and from buffers too, all arrive: 1,
   and its format and type. 0 if there is none, or if that is not known. */
TEXPROBE_EXPORT int texprobe_verdicts_upload_layout(const texprobe_verdicts* verdicts,
                                                    unsigned internal_format, unsigned* format,
                                                    unsigned* type);

/* Why the answer to the same question is NO. */
TEXPROBE_EXPORT texprobe_detail texprobe_verdicts_detail(const texprobe_verdicts* verdicts,
                                                         unsigned internal_format,
                                                         texprobe_capability capability);
TEXPROBE_EXPORT texprobe_detail texprobe_verdicts_use_detail(const texprobe_verdicts* verdicts,
                                                             unsigned internal_format,
                                                             unsigned format, unsigned type,
                                                             texprobe_use use);

/* Ends a tool or a survey that still runs, which takes about 3 seconds at most, and frees the
   verdicts. No log after it. Any thread may call it, once, also at exit; no context need be
   current. */
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
/// nor on whether the application has exceptions. Without memory it is FAILED, and so is one that
/// was moved from.
class TexProbeVerdicts {
public:
    explicit TexProbeVerdicts(const texprobe_options* options = nullptr)
        : verdicts_(texprobe_verdicts_open(options)) {}
    ~TexProbeVerdicts() { texprobe_verdicts_close(verdicts_); }
    TexProbeVerdicts(const TexProbeVerdicts&) = delete;
    TexProbeVerdicts& operator=(const TexProbeVerdicts&) = delete;
    TexProbeVerdicts(TexProbeVerdicts&& other) noexcept : verdicts_(other.verdicts_) {
        other.verdicts_ = nullptr;
    }
    /// Closes those that it had.
    TexProbeVerdicts& operator=(TexProbeVerdicts&& other) noexcept {
        if (this != &other) {
            texprobe_verdicts_close(verdicts_);
            verdicts_ = other.verdicts_;
            other.verdicts_ = nullptr;
        }
        return *this;
    }

    texprobe_state wait(int milliseconds = -1) {
        return texprobe_verdicts_wait(verdicts_, milliseconds);
    }
    texprobe_state state() { return wait(0); }
    double progress() const { return texprobe_verdicts_progress(verdicts_); }
    const char* reason() const { return texprobe_verdicts_reason(verdicts_); }
    texprobe_answer answer(unsigned internalFormat, texprobe_capability capability) const {
        return texprobe_verdicts_answer(verdicts_, internalFormat, capability);
    }
    texprobe_detail detail(unsigned internalFormat, texprobe_capability capability) const {
        return texprobe_verdicts_detail(verdicts_, internalFormat, capability);
    }
    texprobe_answer use(unsigned internalFormat, texprobe_use use, unsigned format = 0,
                        unsigned type = 0) const {
        return texprobe_verdicts_use(verdicts_, internalFormat, format, type, use);
    }
    texprobe_detail use_detail(unsigned internalFormat, texprobe_use use, unsigned format = 0,
                               unsigned type = 0) const {
        return texprobe_verdicts_use_detail(verdicts_, internalFormat, format, type, use);
    }
    bool upload_layout(unsigned internalFormat, unsigned* format, unsigned* type) const {
        return texprobe_verdicts_upload_layout(verdicts_, internalFormat, format, type) != 0;
    }

private:
    texprobe_verdicts* verdicts_;
};

}  // namespace qor
#endif

#endif
