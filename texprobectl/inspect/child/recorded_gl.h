// OpenGL, and the preferences, as the tool's test code finds them when it is compiled for
// `inspect`.
//
// The test code is included after this header, as it is in the tool. It calls OpenGL by name, so
// the only places at which its calls can be seen without changing it, or copying it, are the names:
// here they are macros for functions that tell the recorder and make the same call. In the same way
// the preferences are such that remember nothing: to the test code every run is a first one, and no
// record is touched.

#ifndef TEXPROBECTL_RECORDED_GL_H
#define TEXPROBECTL_RECORDED_GL_H

// All headers of the system first: the macros are not for them.
#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/CoreFoundation.h>
#include <OpenGL/OpenGL.h>
#include <OpenGL/gl.h>
#include <OpenGL/glext.h>
#include <OpenGL/glu.h>

#include <functional>

namespace texprobe::ctl::recorded {

void bind_texture(GLenum target, GLuint texture);
void tex_parameter(GLenum target, GLenum name, GLint value);
void tex_image(GLenum target, GLint level, GLint internalFormat, GLsizei width, GLsizei height,
               GLint border, GLenum format, GLenum type, const void* pixels);
void tex_sub_image(GLenum target, GLint level, GLint x, GLint y, GLsizei width, GLsizei height,
                   GLenum format, GLenum type, const void* pixels);
void get_tex_image(GLenum target, GLint level, GLenum format, GLenum type, void* pixels);
void read_pixels(GLint x, GLint y, GLsizei width, GLsizei height, GLenum format, GLenum type,
                 void* pixels);
void bind_buffer(GLenum target, GLuint buffer);
void buffer_data(GLenum target, GLsizeiptr size, const void* data, GLenum usage);
void* map_buffer(GLenum target, GLenum access);
GLboolean unmap_buffer(GLenum target);
void enable(GLenum capability);
void begin(GLenum mode);
void end();
void tex_coord(GLfloat s, GLfloat t);
void vertex(GLfloat x, GLfloat y);
void flush();
void finish();

}  // namespace texprobe::ctl::recorded

#define glBindTexture texprobe::ctl::recorded::bind_texture
#define glTexParameteri texprobe::ctl::recorded::tex_parameter
#define glTexImage2D texprobe::ctl::recorded::tex_image
#define glTexSubImage2D texprobe::ctl::recorded::tex_sub_image
#define glGetTexImage texprobe::ctl::recorded::get_tex_image
#define glReadPixels texprobe::ctl::recorded::read_pixels
#define glBindBuffer texprobe::ctl::recorded::bind_buffer
#define glBufferData texprobe::ctl::recorded::buffer_data
#define glMapBuffer texprobe::ctl::recorded::map_buffer
#define glUnmapBuffer texprobe::ctl::recorded::unmap_buffer
#define glEnable texprobe::ctl::recorded::enable
#define glBegin texprobe::ctl::recorded::begin
#define glEnd texprobe::ctl::recorded::end
#define glTexCoord2f texprobe::ctl::recorded::tex_coord
#define glVertex2f texprobe::ctl::recorded::vertex
#define glFlush texprobe::ctl::recorded::flush
#define glFinish texprobe::ctl::recorded::finish

namespace texprobe::ctl::no_records {

inline Boolean get_flag(CFStringRef, CFStringRef, Boolean* exists) {
    *exists = 0;
    return 0;
}
inline CFTypeRef copy_value(CFStringRef, CFStringRef) {
    return nullptr;
}
inline void set_value(CFStringRef, CFTypeRef, CFStringRef) {}
inline void set_several(CFDictionaryRef, CFArrayRef, CFStringRef, CFStringRef, CFStringRef) {}
inline Boolean synchronize(CFStringRef) {
    return 1;
}

}  // namespace texprobe::ctl::no_records

#define CFPreferencesGetAppBooleanValue texprobe::ctl::no_records::get_flag
#define CFPreferencesCopyAppValue texprobe::ctl::no_records::copy_value
#define CFPreferencesSetAppValue texprobe::ctl::no_records::set_value
#define CFPreferencesSetMultiple texprobe::ctl::no_records::set_several
#define CFPreferencesAppSynchronize texprobe::ctl::no_records::synchronize

#endif
