// Scripted fakes of everything below the product: GL, GLU, CGL, CoreGraphics, sysctl, and a layer
// of counters over the record store, random(), fork() and waitpid(). They are linked into
// `texprobe_on_fakes`, the tool that the tests run, and never into the tool itself.
//
// They model just enough of a renderer to give sensible verdicts. They serve tests of order,
// messages, failures and deaths. Safe mode empties the environment, so their orders are in a file
// beside the executable, and so is what they report:
//
//   EXECUTABLE.script   the orders, one per line, see below
//   EXECUTABLE.calls    every call as a line of text, when the script says "log"
//   EXECUTABLE.observed       "in" and a test, and a line for each record, when it says "observe"
//   EXECUTABLE.died     created by a death that happens only once
//   EXECUTABLE.stopped  the process that stopped itself
//
// Orders (numbers as in C, formats as GL names or numbers, N counts from 1):
//
//   display ID MASK           an active display
//   renderer MASK ID MEMORY   a renderer that drives the displays of MASK
//   string NAME TEXT          what glGetString(NAME) returns on the renderer above
//   null NAME                 it returns null
//   build TEXT                the system's build string
//   fail CALL CODE [N]        the N-th such call, or every one, fails with CODE
//   substitute T FORMAT OTHER the renderer uses OTHER for FORMAT when it defines texture T
//   incomplete FORMAT         a render target of FORMAT is incomplete
//   change KEY SUM            alters what the test of KEY reads back: the squares add up to SUM
//   die WAY at N              dies at the process's N-th call
//   die WAY once at N         the same, but only in the first process that gets there
//   die WAY in KEY N          dies at the N-th call in every test of KEY
//   interrupt N SIGNALS       another process sends SIGNAL [MS SIGNAL]... at the N-th call
//   pause N MS                the process's N-th call takes MS milliseconds longer
//   pause once N MS           the same, but only in the first process that gets there
//   records DIRECTORY         where the records are; beside the executable by default
//   observe                   writes the records after each synchronization
//   log                       writes the calls

#ifndef TEXPROBE_TESTS_FAKES_H
#define TEXPROBE_TESTS_FAKES_H

#include <sys/types.h>

#include <OpenGL/gl.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

// The functions behind the fake ones.
extern "C" {
pid_t __real_fork();
pid_t __real_waitpid(pid_t, int*, int);
}

namespace fakes {

// The script.

struct Display {
    std::uint32_t id;
    std::uint32_t mask;
};

struct Renderer {
    std::uint32_t mask;
    int id;
    int memory;
    std::map<std::string, std::optional<std::string>> strings;
};

struct Failure {
    int code;
    std::optional<unsigned> call;
};

/// What happens at a call of the process, or of each test of a key.
struct Event {
    unsigned call = 0;
    std::string key = {};
    bool once = false;  ///< Only in the first process that gets there.
    std::function<void()> happens = {};
};

struct Script {
    std::vector<Display> displays;
    std::vector<Renderer> renderers;
    std::string build = "TESTBUILD";
    std::map<std::string, Failure> failures;
    std::map<std::pair<GLuint, GLenum>, GLenum> substitutes;
    std::set<GLenum> incomplete;
    std::map<std::string, unsigned long> changes;
    std::vector<Event> events;
    std::string records;
    bool observes = false;
    bool log = false;
};

/// The orders of this process; read at the first use.
const Script& script();

/// The executable's path with `suffix` appended.
std::string beside_executable(const char* suffix);

// Calls.

/// Counts a call and logs it. The script's events happen here, before the call has any effect.
void call(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Ends the process, or stops it.
void die(const std::string& way);

/// Sends this process signals from another one, each some milliseconds after the previous one.
void interrupt(const std::vector<std::pair<std::string, unsigned>>& signals);

/// Logs a line that is no call and is not counted.
void note(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// The code with which this call of `name` fails; 0 when it succeeds.
int failure(const char* name);

/// From the synchronize after a provisional false of `key` to the verdict, the process is inside
/// the test of `key`. Empty: outside all tests.
void enter_test(const std::string& key);
void leave_test();
const std::string& current_test();

/// The name of an enumerant in the OpenGL specification, or its number.
std::string name(GLenum value);
/// The value of a name or a number.
GLenum enumerant(const std::string& word);

// The renderer.

/// Memory that ends at an inaccessible page, so that reading past a mapping crashes.
std::shared_ptr<unsigned char> guarded_memory(std::size_t size);

struct Buffer {
    std::shared_ptr<unsigned char> memory;
    bool mapped = false;
};

/// An image of 128 x 128 pixels as it was defined. Without pixels it is black.
struct Image {
    GLenum internalFormat = 0;
    GLenum format = 0;
    GLenum type = 0;
    std::vector<unsigned char> pixels;
};

std::size_t bytes_per_pixel(GLenum format, GLenum type);

/// The image as red, green, blue and alpha bytes, rounded to nearest.
std::vector<unsigned char> rgba_bytes(const Image& image);

struct Context {
    const Renderer* renderer = nullptr;
    std::map<GLuint, Image> textures;
    std::map<GLuint, Buffer> buffers;
    Image frame;  // Of the pixel buffer.
    GLuint texture = 0;
    GLuint unpackBuffer = 0;
    GLuint packBuffer = 0;
    GLuint attachedTexture = 0;  // 0: drawing goes to the pixel buffer.
    bool texturing = false;
};

/// The current context. Ends the process if there is none, because no call is allowed then.
Context& context();

}  // namespace fakes

#endif
