// The verdicts on one renderer.

#ifndef TEXPROBE_VERDICTS_VERDICTS_H
#define TEXPROBE_VERDICTS_VERDICTS_H

#include <array>
#include <cstddef>

#include "TexProbeVerdicts.h"
#include "records/formats.h"

namespace texprobe {

namespace {

/// The known verdicts on one renderer: 16 formats, 6 capabilities.
class Answers {
public:
    Answers() {
        for (auto& ofFormat : answers_) ofFormat.fill(TEXPROBE_UNKNOWN);
    }

    texprobe_answer& at(std::size_t format, std::size_t capability) {
        return answers_[format][capability];
    }
    texprobe_answer at(std::size_t format, std::size_t capability) const {
        return answers_[format][capability];
    }

    /// How many are decided: recorded, or never tested because they need one that is a no.
    std::size_t count_decided() const {
        std::size_t count = 0;
        for (const auto& of : answers_) {
            std::array<bool, kCapabilityCount> isNo = {};
            for (std::size_t i = 0; i < kCapabilityCount; ++i) {
                const bool isNeverTested = isNo[kCapabilityRows[i].precondition];
                isNo[i] = isNeverTested || of[i] == TEXPROBE_NO;
                count += isNeverTested || of[i] != TEXPROBE_UNKNOWN;
            }
        }
        return count;
    }

    bool are_complete() const { return count_decided() == kCellCount; }

    /// Where `other` differs, the verdict becomes unknown. Returns how many do.
    std::size_t agree_with(const Answers& other) {
        std::size_t differences = 0;
        for (std::size_t format = 0; format < kFormatCount; ++format) {
            for (std::size_t capability = 0; capability < kCapabilityCount; ++capability) {
                if (at(format, capability) == other.at(format, capability)) continue;
                at(format, capability) = TEXPROBE_UNKNOWN;
                ++differences;
            }
        }
        return differences;
    }

    /// Takes the verdicts that `other` knows.
    void replace_by(const Answers& other) {
        for (std::size_t format = 0; format < kFormatCount; ++format) {
            for (std::size_t capability = 0; capability < kCapabilityCount; ++capability) {
                const texprobe_answer answer = other.at(format, capability);
                if (answer != TEXPROBE_UNKNOWN) at(format, capability) = answer;
            }
        }
    }

private:
    std::array<std::array<texprobe_answer, kCapabilityCount>, kFormatCount> answers_;
};

}  // namespace

}  // namespace texprobe

#endif
