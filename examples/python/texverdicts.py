"""What the current renderer does with each format: TexProbeVerdicts.h from Python, through ctypes.

Usage: python3 texverdicts.py [LIBRARY [TOOL]]
LIBRARY is the shared library; by default, the libTexProbe.so.0 that the loader finds. TOOL is the path of texprobe; by
default, the one installed with the library, or the first in PATH.
"""
import ctypes
import sys

class Options(ctypes.Structure):
    _fields_ = [("size", ctypes.c_size_t), ("tool", ctypes.c_char_p), ("limit", ctypes.c_int),
                ("log", ctypes.c_void_p), ("user", ctypes.c_void_p)]

def open_context():
    """An OpenGL context without a window. Your application has its own."""
    egl = ctypes.CDLL("libEGL.so.1")
    pointer = ctypes.c_void_p
    for name in ("eglGetPlatformDisplay", "eglCreateContext"):
        getattr(egl, name).restype = pointer
    display, config, count = pointer(egl.eglGetPlatformDisplay(0x31DD, None, None)), pointer(), ctypes.c_int()
    words = lambda *values: (ctypes.c_int * len(values))(*values)
    egl.eglInitialize(display, None, None)
    egl.eglChooseConfig(display, words(0x3033, 0, 0x3040, 0x8, 0x3038), ctypes.byref(config), 1, ctypes.byref(count))
    egl.eglBindAPI(0x30A2)
    context = pointer(egl.eglCreateContext(display, config, None, None))
    return egl.eglMakeCurrent(display, None, None, context)

arguments = sys.argv[1:]
if len(arguments) > 2 or any(argument.startswith("-") for argument in arguments):
    sys.exit(__doc__)
try:
    texprobe = ctypes.CDLL(arguments[0] if arguments else "libTexProbe.so.0")
except OSError as error:
    sys.exit(f"texverdicts.py: {error}")
tool = arguments[1].encode() if len(arguments) > 1 else None
texprobe.texprobe_verdicts_open.restype = ctypes.c_void_p
for name in ("texprobe_verdicts_reason", "texprobe_format_name"):
    getattr(texprobe, name).restype = ctypes.c_char_p
open_context()
verdicts = ctypes.c_void_p(texprobe.texprobe_verdicts_open(ctypes.byref(Options(ctypes.sizeof(Options), tool))))
if texprobe.texprobe_verdicts_wait(verdicts, -1) != 1:
    sys.exit(texprobe.texprobe_verdicts_reason(verdicts).decode())
for i in range(texprobe.texprobe_format_count()):
    value = texprobe.texprobe_format_value(i)
    answers = (texprobe.texprobe_verdicts_answer(verdicts, value, capability) for capability in range(6))
    print(f"{texprobe.texprobe_format_name(i).decode():26}", *({-1: "?", 0: "no", 1: "yes"}[a] for a in answers))
texprobe.texprobe_verdicts_close(verdicts)
