// Records the OpenGL calls of the tool's test code in order, the image sent and the one returned.
//
// Images are always taken, which makes no call of OpenGL. Calls are reported, and OpenGL asked for
// errors, only while the recorder is on: so the tests that are replayed before the inspected one
// make the tool's own calls and no others.

#ifndef TEXPROBECTL_RECORDER_H
#define TEXPROBECTL_RECORDER_H

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

#include <map>
#include <optional>
#include <string>

#include "inspect/pixels.h"

namespace texprobe::ctl {

/// The images of one test.
struct RecordedImages {
    std::optional<Image> sent;
    std::optional<Image> returned;
    /// The unpack buffer's contents after the transfer.
    std::optional<Image> kept;
};

class Recorder {
public:
    /// Of this process.
    static Recorder& instance();

    /// Writes, from now on, a line to standard output for each call, before it is made, and lines
    /// for its outcome: those of inspected_test.h.
    void turn_on();
    void turn_off() { isOn_ = false; }

    /// Those since the last time.
    RecordedImages take_images();

    // Learned from the recorded calls.

    void before(const std::string& call);
    void after();
    /// Between glBegin and glEnd, OpenGL cannot be asked for errors.
    void set_drawing(bool isDrawing) { isDrawing_ = isDrawing; }
    void result(const std::string& text);
    void texture_defined();

    void buffer_bound(GLenum target, GLuint buffer);
    bool has_buffer(GLenum target) const;
    void buffer_sized(GLenum target, std::size_t size);
    void buffer_mapped(GLenum target, GLenum access, const void* mapping);
    void buffer_unmapped(GLenum target);
    /// `pixels` is null, client memory, or an offset into the unpack buffer.
    void pixels_sent(const Layout& layout, const void* pixels);
    void pixels_fetched(const Layout& layout);
    /// Into client memory.
    void pixels_returned(const Layout& layout, const void* pixels);

private:
    struct Buffer {
        GLuint name = 0;
        std::size_t size = 0;
        const void* mapping = nullptr;
        GLenum access = 0;
    };

    void say(const char* kind, const std::string& text) const;
    void ask_errors(const char* kind);

    bool isOn_ = false;
    bool isDrawing_ = false;
    std::map<GLenum, Buffer> buffers_;
    /// The bytes that were written into the unpack buffer.
    std::vector<std::uint8_t> written_;
    Layout fetched_;
    RecordedImages images_;
};

}  // namespace texprobe::ctl

#endif
