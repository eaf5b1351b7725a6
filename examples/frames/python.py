"""In which layout do video frames go into a texture? With EGL, a compatibility profile and no window.
Usage: python3 python.py [LIBRARY]; by default, the libTexProbe.so.0 that the loader finds."""
import ctypes
import sys

GL_VERSION, GL_UNSIGNED_BYTE, GL_RGBA8, GL_BGRA = 0x1F02, 0x1401, 0x8058, 0x80E1
TEXPROBE_UNKNOWN, TEXPROBE_YES, TEXPROBE_UPLOAD_BUFFER, TEXPROBE_MEASURE_ALL = -1, 1, 9, 2

class Options(ctypes.Structure):
    _fields_ = [("size", ctypes.c_size_t), ("tool", ctypes.c_char_p), ("limit", ctypes.c_int),
                ("log", ctypes.c_void_p), ("user", ctypes.c_void_p), ("measure", ctypes.c_int),
                ("done", ctypes.c_void_p)]

def load(name, **results):
    library = ctypes.CDLL(name)
    for function, result in results.items():
        getattr(library, function).restype = result
    return library

def open_context(egl):
    """Yours has its own; this one asks Mesa."""
    display = ctypes.c_void_p(egl.eglGetPlatformDisplay(0x31DD, None, None))
    config, count = ctypes.c_void_p(), ctypes.c_int()
    wanted = (ctypes.c_int * 5)(0x3033, 0, 0x3040, 0x8, 0x3038)  # No surface; OpenGL.
    if (egl.eglInitialize(display, None, None) and egl.eglBindAPI(0x30A2)
            and egl.eglChooseConfig(display, wanted, ctypes.byref(config), 1, ctypes.byref(count)) and count.value):
        context = ctypes.c_void_p(egl.eglCreateContext(display, config, None, None))
        return egl.eglMakeCurrent(display, None, None, context)
    return False

def print_layout(texprobe, verdicts):
    """How to send frames whose pixels are blue first."""
    values = [texprobe.texprobe_format_value(i) for i in range(texprobe.texprobe_format_count())]
    answers = [texprobe.texprobe_verdicts_answer(verdicts, value, c) for value in values for c in range(6)]
    known = sum(answer != TEXPROBE_UNKNOWN for answer in answers)
    layout = ctypes.c_uint(GL_BGRA), ctypes.c_uint(GL_UNSIGNED_BYTE)
    if (texprobe.texprobe_verdicts_use(verdicts, GL_RGBA8, *layout, TEXPROBE_UPLOAD_BUFFER) != TEXPROBE_YES
            and not texprobe.texprobe_verdicts_upload_layout(verdicts, GL_RGBA8, *map(ctypes.byref, layout))):
        sys.exit(f"no layout is known. {texprobe.texprobe_verdicts_reason(verdicts).decode()}")
    version = load("libOpenGL.so.0", glGetString=ctypes.c_char_p).glGetString(GL_VERSION).decode()
    print(f"{version}: GL_RGBA8 takes 0x{layout[0].value:04X}, 0x{layout[1].value:04X};"
          f" {known} of {len(answers)} answers are known")

pointer = ctypes.c_void_p
texprobe = load(sys.argv[1] if len(sys.argv) > 1 else "libTexProbe.so.0",
                texprobe_verdicts_open=pointer, texprobe_verdicts_reason=ctypes.c_char_p)
if not open_context(load("libEGL.so.1", eglGetPlatformDisplay=pointer, eglCreateContext=pointer)):
    sys.exit("EGL gives no OpenGL context")
# Layouts are known by the survey, which such a context does not need otherwise.
options = Options(ctypes.sizeof(Options), measure=TEXPROBE_MEASURE_ALL)
verdicts = ctypes.c_void_p(texprobe.texprobe_verdicts_open(ctypes.byref(options)))
try:
    texprobe.texprobe_verdicts_wait(verdicts, -1)  # Seconds, the first time on a driver.
    print_layout(texprobe, verdicts)
finally:
    texprobe.texprobe_verdicts_close(verdicts)
