// A question of the survey, asked once more, and the texels that were compared for it.

#ifndef TEXPROBECTL_INSPECTED_USE_H
#define TEXPROBECTL_INSPECTED_USE_H

#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "records/record_set.h"

namespace texprobe::ctl {

/// As a shader samples them, or as they came back: of depth the first component only.
struct ComparedTexels {
    struct Pair {
        std::array<double, 4> expected = {};
        std::array<double, 4> came = {};
        /// Farther off than is allowed.
        bool isWrong = false;
    };
    struct Errors {
        double largest = 0.0;
        std::size_t texels = 0;
    };
    std::size_t width = 0;
    std::size_t components = 0;
    std::vector<Pair> pairs;

    std::size_t height() const { return pairs.size() / width; }
    /// The first wrong one's index; none if all are right.
    std::optional<std::size_t> first_wrong() const;
    std::size_t count_wrong() const;
    /// Those of one component in the wrong texels.
    Errors errors(std::size_t component) const;
    const char* name(std::size_t component) const;
};

struct UseCell {
    survey::Profile profile;
    const survey::Format* format;
    survey::Question question;
};

struct UseInspection {
    /// Of the record set.
    std::string id;
    std::string renderer;
    UseCell cell;
    std::optional<survey::Judged> recorded = {};
    bool isOfPresentBuild = true;
    /// This run's; none if the program did not come to its end.
    std::optional<survey::Judged> now = {};
    /// How it ended then: "was ended by SIGSEGV".
    std::string failure = {};
    /// Where pixels were compared; of several images the last, which is the first wrong one.
    std::optional<ComparedTexels> texels = {};
};

struct UseInspectOptions {
    /// texprobe-survey.
    std::string program;
    std::chrono::seconds limit{60};
};

/// "GL_RGB9_E5 mipmap in core profile"
std::string words_of(const UseCell& cell);

/// The recorded verdict; none where there is none.
std::optional<survey::Judged> recorded_verdict(const RecordSet& set, const UseCell& cell);

/// On the renderer of a set of this machine. Throws Interrupted.
UseInspection inspect_use(const UseInspectOptions& options, const UseCell& cell,
                          const RecordSet& set);

/// Writes expected, came and difference.png, and all numbers to texels.txt; a folder that is
/// missing is made. Throws std::runtime_error, one line.
void write_pictures(const UseInspection& inspection, const std::string& folder);

}  // namespace texprobe::ctl

#endif
