// The child of `inspect`: the inspected test, by the tool's own test code, on a renderer of this
// machine. Takes no measuring turn and touches no record.

#ifndef TEXPROBECTL_INSPECTED_TEST_H
#define TEXPROBECTL_INSPECTED_TEST_H

#include <string>
#include <vector>

#include "records/cells.h"

namespace texprobe::ctl {

inline constexpr const char* kInspectTask = "inspect";

enum class InspectionMode {
    /// The tool's pass to the test, whose calls are recorded.
    kReplay,
    /// Only this test, in a fresh context.
    kAlone,
    /// The tool's pass, of which only the images of these tests are wanted.
    kImages,
};

/// The child's task.
struct InspectionOrder {
    /// Where it leaves the images.
    std::string folder;
    /// Its ID, in hexadecimal.
    std::string renderer;
    /// In the order of the tests; the last one ends the pass.
    std::vector<Cell> cells;
    /// How many patterns the tool's process had made before it came to this renderer.
    unsigned patternsBefore = 0;
    InspectionMode mode = InspectionMode::kReplay;
    /// Tests in which a driver dies, and which are not run.
    std::vector<Cell> leftOut;
};

std::vector<std::string> words_of(const InspectionOrder& order);

/// The task. On standard output it writes lines of the recorder's, and these:
///   test N                             the test of cell N, 0 to 95, is the next
///   verdict N V                        it is done, with 1 or 0
///   image NAME N FORMAT TYPE           the file NAME.N holds an image of cell N in this layout;
///                                      NAME is sent, returned or kept
/// On standard error it writes the tool's lines, and kTestBegins before the inspected test.
int inspect_as_child(const std::vector<std::string>& arguments);

/// The first words of the recorder's lines, which tell of the inspected test's calls as they
/// happen.
namespace line {
/// An error that the tests before have left.
inline constexpr const char* kPending = "pending";
/// Before a call.
inline constexpr const char* kCall = "call";
// After it.
inline constexpr const char* kResult = "result";
inline constexpr const char* kReturned = "returned";
inline constexpr const char* kError = "error";
/// The internal format of the texture that it has defined.
inline constexpr const char* kChosen = "chosen";
}  // namespace line

inline constexpr const char* kTestBegins = "texprobectl: the inspected test begins";
inline constexpr const char* kSentImage = "sent";
inline constexpr const char* kReturnedImage = "returned";
inline constexpr const char* kKeptImage = "kept";

}  // namespace texprobe::ctl

#endif
