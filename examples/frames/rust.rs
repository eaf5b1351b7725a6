//! In which layout do video frames go into a texture? With GLFW's library and a core profile.
//! rustc rust.rs -o rust $(pkg-config --libs-only-L texprobe)
use std::ffi::{c_void, CStr};
use std::os::raw::{c_char, c_int, c_uint};
use std::ptr::{null, null_mut};

type Pointer = *mut c_void;

#[link(name = "TexProbe")]
extern "C" {
    fn texprobe_verdicts_open(options: *const c_void) -> Pointer;
    fn texprobe_verdicts_wait(verdicts: Pointer, milliseconds: c_int) -> c_int;
    fn texprobe_verdicts_reason(verdicts: Pointer) -> *const c_char;
    fn texprobe_verdicts_answer(verdicts: Pointer, texture: c_uint, capability: c_uint) -> c_int;
    fn texprobe_verdicts_use(v: Pointer, texture: c_uint, f: c_uint, t: c_uint, used: c_uint) -> c_int;
    fn texprobe_verdicts_upload_layout(v: Pointer, texture: c_uint, f: &mut c_uint, t: &mut c_uint) -> c_int;
    fn texprobe_verdicts_close(verdicts: Pointer);
    fn texprobe_format_value(index: usize) -> c_uint;
}

#[link(name = "glfw")]
#[link(name = "OpenGL")]
extern "C" {
    fn glfwInit() -> c_int;
    fn glfwWindowHint(hint: c_int, value: c_int);
    fn glfwCreateWindow(w: c_int, h: c_int, title: *const c_char, monitor: Pointer, share: Pointer) -> Pointer;
    fn glfwMakeContextCurrent(window: Pointer);
    fn glfwTerminate();
    fn glGetString(name: c_uint) -> *const c_char;
}

/// How to send frames whose pixels are blue first, or why there is no way.
unsafe fn layout(verdicts: Pointer) -> Result<String, String> {
    let text = |line| CStr::from_ptr(line).to_string_lossy();
    let (rgba8, mut format, mut kind) = (0x8058, 0x80E1, 0x1401); // GL_BGRA, GL_UNSIGNED_BYTE.
    let is_known = |i: &usize| texprobe_verdicts_answer(verdicts, texprobe_format_value(i / 6), (i % 6) as u32) >= 0;
    let (known, upload_buffer) = ((0..96).filter(is_known).count(), 9);
    if texprobe_verdicts_use(verdicts, rgba8, format, kind, upload_buffer) != 1
        && texprobe_verdicts_upload_layout(verdicts, rgba8, &mut format, &mut kind) == 0 {
        return Err(format!("no layout is known. {}", text(texprobe_verdicts_reason(verdicts))));
    }
    let version = text(glGetString(0x1F02));
    Ok(format!("{version}: GL_RGBA8 takes 0x{format:04X}, 0x{kind:04X}; {known} of 96 answers are known"))
}

fn main() -> Result<(), String> {
    unsafe {
        glfwInit();
        [(0x22002, 3), (0x22003, 3), (0x22008, 0x32001)].map(|(hint, value)| glfwWindowHint(hint, value)); // Core 3.3.
        let window = glfwCreateWindow(320, 240, "frames\0".as_ptr().cast(), null_mut(), null_mut());
        if window.is_null() { glfwTerminate(); return Err("GLFW gives no core profile".into()); }
        glfwMakeContextCurrent(window);
        let verdicts = texprobe_verdicts_open(null());
        texprobe_verdicts_wait(verdicts, -1); // Seconds, the first time on a driver.
        let result = layout(verdicts);
        texprobe_verdicts_close(verdicts);
        glfwTerminate();
        result.map(|line| println!("{line}"))
    }
}
