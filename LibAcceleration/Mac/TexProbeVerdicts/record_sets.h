// The record sets of this machine's renderers, and which of them is the current context's.

#ifndef TEXPROBE_VERDICTS_RECORD_SETS_H
#define TEXPROBE_VERDICTS_RECORD_SETS_H

#include <CoreFoundation/CoreFoundation.h>
#include <OpenGL/OpenGL.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "../TexProbe/formats.h"
#include "../TexProbe/lookup.h"
#include "../TexProbe/records.h"
#include "../TexProbeVerdicts.h"
#include "../measuring_turn.h"
#include "../turn_settings.h"
#include "context.h"

namespace {

/// What is recorded of one renderer: 16 formats, 6 capabilities.
class Verdicts {
public:
    Verdicts() {
        for (auto& ofFormat : answers_) ofFormat.fill(TEXPROBE_UNKNOWN);
    }

    texprobe_answer& at(std::size_t format, std::size_t capability) {
        return answers_[format][capability];
    }
    texprobe_answer at(std::size_t format, std::size_t capability) const {
        return answers_[format][capability];
    }

    /// How many are decided: recorded, or never tested because what they need is a no.
    std::size_t count_decided() const {
        std::size_t count = 0;
        for (const auto& of : answers_) {
            const auto tested = [&](Capability capability) {
                return of[capability] != TEXPROBE_UNKNOWN;
            };
            count += tested(kSupported);
            const bool isSupportedNo = of[kSupported] == TEXPROBE_NO;
            for (const Capability c : {kRenderable, kUploadSet, kUploadReset}) {
                count += isSupportedNo || tested(c);
            }
            const bool isRenderableNo = isSupportedNo || of[kRenderable] == TEXPROBE_NO;
            for (const Capability c : {kDownloadGet, kDownloadRead}) {
                count += isRenderableNo || tested(c);
            }
        }
        return count;
    }

    bool are_complete() const { return count_decided() == kCount; }

    /// Where `other` says something else, nobody knows. How many that are.
    std::size_t agree_with(const Verdicts& other) {
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

    static constexpr std::size_t kCount = kFormatCount * kCapabilityCount;

private:
    std::array<std::array<texprobe_answer, kCapabilityCount>, kFormatCount> answers_;
};

/// The records of one identifier, as they are now.
inline Verdicts read_verdicts(CFStringRef appID) {
    Verdicts verdicts;
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        const FlagKeys keys(texture_formats()[format].key);
        for (std::size_t i = 0; i < kCapabilityCount; ++i) {
            Boolean isRecorded = 0;
            const bool verdict = CFPreferencesGetAppBooleanValue(keys[static_cast<Capability>(i)],
                                                                 appID, &isRecorded);
            if (isRecorded) verdicts.at(format, i) = verdict ? TEXPROBE_YES : TEXPROBE_NO;
        }
    }
    return verdicts;
}

inline std::string quoted(CFStringRef string) {
    return std::string("\"") + text_of(string) + "\"";
}

/// What the store says of the current context's renderer.
struct Finding {
    bool isRead = true;
    /// A run is at work on a set with the context's strings: it may say the false of a test under
    /// way.
    bool isInHand = false;
    std::optional<Verdicts> verdicts;
    /// How many of them are unknown because two renderers carry the context's strings.
    std::size_t differences = 0;
};

/// Made on the thread whose context is current; used on another afterwards.
class RecordSets {
public:
    RecordSets() {
        CGDirectDisplayID displays[kMaxDisplays];
        std::uint32_t count = 0;
        const auto complain = [this](const char* failure, int error) { remember(failure, error); };
        if (!list_displays(displays, &count, complain)) return;
        for (std::uint32_t i = 0; i < count; ++i) {
            const RendererList renderers(CGDisplayIDToOpenGLDisplayMask(displays[i]), complain);
            for (GLint index = 0; index < renderers.count(); ++index) {
                add(renderers.info(), index, complain);
            }
        }
    }
    ~RecordSets() {
        for (const CFStringRef appID : appIDs_) release(appID);
    }
    RecordSets(const RecordSets&) = delete;
    RecordSets& operator=(const RecordSets&) = delete;

    /// Why no record can ever match; empty if one may.
    std::string hopeless() const {
        if (!hasContext_) return "no OpenGL context is current on the thread that asks";
        if (!strings_.vendor() || !strings_.renderer()) {
            return "the context's vendor and renderer strings are missing or not ASCII";
        }
        if (appIDs_.empty()) {
            return failure_.empty() ? "this machine lists no renderer"
                                    : "this machine's renderers cannot be listed: " + failure_;
        }
        return {};
    }

    /// Reads all sets anew, and looks for the one of the current context's renderer.
    Finding look() const {
        Finding finding;
        for (const CFStringRef appID : appIDs_) {
            const qor::SetAtRest atRest(turnFile_, text_of(appID));
            // The tool may just have written these records in its own process.
            finding.isRead &= CFPreferencesAppSynchronize(appID) != 0;
            if (!strings_.match(appID, isVersionCompared_)) continue;
            const Verdicts verdicts = read_verdicts(appID);
            if (!verdicts.are_complete()) continue;
            finding.isInHand |= !atRest.has_lasted();
            if (finding.verdicts) {
                finding.differences += finding.verdicts->agree_with(verdicts);
            } else {
                finding.verdicts = verdicts;
            }
        }
        if (finding.isInHand || !finding.isRead) finding.verdicts.reset();
        return finding;
    }

    /// Reads all sets anew.
    void refresh() const {
        for (const CFStringRef appID : appIDs_) CFPreferencesAppSynchronize(appID);
    }

    std::size_t count_decided() const {
        std::size_t count = 0;
        for (const CFStringRef appID : appIDs_) {
            if (is_current(appID)) count += read_verdicts(appID).count_decided();
        }
        return count;
    }
    std::size_t count_all() const { return appIDs_.size() * Verdicts::kCount; }

    /// Empty without any.
    std::string describe_differences(std::size_t differences) const {
        if (differences == 0) return {};
        return "unknown where two renderers of this machine differ, both " +
               quoted(strings_.renderer()) + ": " + std::to_string(differences) + " of " +
               std::to_string(Verdicts::kCount) + " verdicts";
    }

    /// Why nothing was found although the tool has ended.
    std::string describe_mismatch() const {
        std::string recorded;
        for (const CFStringRef appID : appIDs_) {
            if (strings_.match(appID, isVersionCompared_)) {
                return "the records of " + quoted(strings_.renderer()) + " are not complete";
            }
            recorded += (recorded.empty() ? "" : ", ") + describe_recorded(appID);
        }
        std::string wanted = quoted(strings_.renderer()) + " of " + quoted(strings_.vendor());
        if (isVersionCompared_) wanted += ", version " + quoted(strings_.version());
        return "no renderer of this machine is the context's, " + wanted +
               "; recorded: " + recorded;
    }

private:
    void add(CGLRendererInfoObj info, GLint index, const Complain& complain) {
        GLint rendererID = 0;
        const CGLError error = CGLDescribeRenderer(info, index, kCGLRPRendererID, &rendererID);
        if (error != kCGLNoError) return complain("cannot get renderer ID", error);
        // Every display lists it.
        if (std::find(rendererIDs_.begin(), rendererIDs_.end(), rendererID) != rendererIDs_.end()) {
            return;
        }
        rendererIDs_.push_back(rendererID);
        appIDs_.push_back(create_application_id(rendererID));
    }

    static bool is_current(CFStringRef appID) {
        const CFTypeRef value = CFPreferencesCopyAppValue(CFSTR("VERSION"), appID);
        double number = 0.0;
        const bool isCurrent = is_current_version(value, &number);
        release(value);
        return isCurrent;
    }

    std::string describe_recorded(CFStringRef appID) const {
        std::string text;
        std::vector<CFStringRef> keys = {CFSTR("GL_RENDERER"), CFSTR("GL_VENDOR")};
        if (isVersionCompared_) keys.push_back(CFSTR("GL_VERSION"));
        for (const CFStringRef key : keys) {
            const CFTypeRef value = CFPreferencesCopyAppValue(key, appID);
            const bool isString = value && CFGetTypeID(value) == CFStringGetTypeID();
            text += text.empty() ? "" : key == CFSTR("GL_VENDOR") ? " of " : ", version ";
            text += isString ? quoted(static_cast<CFStringRef>(value)) : "nothing";
            release(value);
        }
        return text;
    }

    void remember(const char* failure, int error) {
        failure_ = std::string(failure) + " (" + std::to_string(error) + ")";
    }

    const std::string turnFile_ = qor::turn_file();
    const ContextStrings strings_;
    const bool hasContext_ = glGetString(GL_VERSION) != nullptr;
    const bool isVersionCompared_ = is_compatibility_context();
    std::vector<int> rendererIDs_;
    std::vector<CFStringRef> appIDs_;
    std::string failure_;
};

}  // namespace

#endif
