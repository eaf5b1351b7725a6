// The record sets of this machine's renderers, and which of them is the current context's.

#ifndef TEXPROBE_VERDICTS_RECORD_SETS_H
#define TEXPROBE_VERDICTS_RECORD_SETS_H

#include <CoreFoundation/CoreFoundation.h>
#include <OpenGL/OpenGL.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "TexProbeVerdicts.h"
#include "records/formats.h"
#include "records/lookup.h"
#include "records/records.h"
#include "runs/measuring_turn.h"
#include "runs/turn_settings.h"
#include "verdicts/context.h"
#include "verdicts/said_by_tool.h"
#include "verdicts/verdicts.h"

namespace texprobe {

namespace {

/// The records of one identifier, as they are now.
inline Answers read_verdicts(CFStringRef appID) {
    Answers verdicts;
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        const FlagKeys keys(format_names()[format]);
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

/// The records found of the current context's renderer.
struct Finding {
    bool isRead = true;
    /// A run is at work on a set with the context's strings: it may say the false of a test under
    /// way.
    bool isInHand = false;
    /// Every set is complete, and no run is at work on one: another finds nothing to measure. Of
    /// the same look as the rest, because a run may end between two.
    bool areAllMeasured = true;
    std::optional<Answers> verdicts;
    /// How many of them are unknown because two renderers carry the context's strings.
    std::size_t differences = 0;

    void add(const Answers& found) {
        if (verdicts) {
            differences += verdicts->agree_with(found);
        } else {
            verdicts = found;
        }
    }
};

/// Made on the thread whose context is current; used on another afterwards.
class SetsOfMachine {
public:
    SetsOfMachine() {
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
    ~SetsOfMachine() {
        for (const CFStringRef appID : appIDs_) release(appID);
    }
    SetsOfMachine(const SetsOfMachine&) = delete;
    SetsOfMachine& operator=(const SetsOfMachine&) = delete;

    const std::vector<int>& renderer_ids() const { return rendererIDs_; }

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
            const SetAtRest atRest(turnFile_, text_of(appID));
            // The tool may just have written these records in its own process.
            finding.isRead &= CFPreferencesAppSynchronize(appID) != 0;
            const Answers verdicts = read_verdicts(appID);
            const bool isInHand = !atRest.has_lasted();
            finding.areAllMeasured &= !isInHand && is_measured(appID) && verdicts.are_complete();
            if (!strings_.match(appID, isVersionCompared_) || !verdicts.are_complete()) continue;
            finding.isInHand |= isInHand;
            finding.add(verdicts);
        }
        if (finding.isInHand || !finding.isRead) finding.verdicts.reset();
        return finding;
    }

    /// The same after a run that could not record everything, from its lines. They do not
    /// tell the renderer's name: only records can tell two of one vendor and version apart.
    Finding look(const SaidByTool& said) const {
        Finding finding;
        for (const CFStringRef appID : appIDs_) {
            const SaidOfRenderer* renderer = said.of(appID);
            if (!renderer || !is_of_context(*renderer, appID)) continue;
            Answers verdicts = renderer->isUpToDate ? read_verdicts(appID) : Answers();
            verdicts.replace_by(renderer->verdicts);
            if (verdicts.are_complete()) finding.add(verdicts);
        }
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
    std::size_t count_all() const { return appIDs_.size() * kCellCount; }

    /// Empty without any.
    std::string describe_differences(std::size_t differences) const {
        if (differences == 0) return {};
        return "unknown where two renderers of this machine differ, both " +
               quoted(strings_.renderer()) + ": " + std::to_string(differences) + " of " +
               std::to_string(kCellCount) + " verdicts";
    }

    /// Why nothing was found, although every renderer is measured.
    std::string describe_mismatch(const SaidByTool& said) const {
        std::string recorded;
        for (const CFStringRef appID : appIDs_) {
            if (strings_.match(appID, isVersionCompared_)) {
                return "the records of " + quoted(strings_.renderer()) + " are not complete";
            }
            recorded += (recorded.empty() ? "" : ", ") + describe_recorded(appID, said.of(appID));
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

    /// Has a run begun and ended this set?
    static bool is_measured(CFStringRef appID) {
        return is_current(appID) && recorded_string(appID, CFSTR("GL_VENDOR")) &&
               recorded_string(appID, CFSTR("GL_VERSION")) &&
               recorded_string(appID, CFSTR("GL_RENDERER"));
    }

    /// Nothing if there is none.
    static std::optional<std::string> recorded_string(CFStringRef appID, CFStringRef key) {
        const CFTypeRef value = CFPreferencesCopyAppValue(key, appID);
        std::optional<std::string> text;
        if (value && CFGetTypeID(value) == CFStringGetTypeID()) {
            text = text_of(static_cast<CFStringRef>(value));
        }
        release(value);
        return text;
    }

    /// Are these lines about a renderer of the current context's vendor and version, and not
    /// recorded as another's?
    bool is_of_context(const SaidOfRenderer& said, CFStringRef appID) const {
        const auto recorded = recorded_string(appID, CFSTR("GL_RENDERER"));
        return said.vendor == text_of(strings_.vendor()) &&
               (!isVersionCompared_ || said.version == text_of(strings_.version())) &&
               (!recorded || *recorded == text_of(strings_.renderer()));
    }

    std::string describe_recorded(CFStringRef appID, const SaidOfRenderer* said) const {
        const auto text = [&](CFStringRef key, const std::string* word) {
            const auto recorded = recorded_string(appID, key);
            if (recorded) return '"' + *recorded + '"';
            return word && !word->empty() ? '"' + *word + '"' : "nothing";
        };
        std::string line = text(CFSTR("GL_RENDERER"), nullptr) + " of " +
                           text(CFSTR("GL_VENDOR"), said ? &said->vendor : nullptr);
        if (isVersionCompared_) {
            line += ", version " + text(CFSTR("GL_VERSION"), said ? &said->version : nullptr);
        }
        return line;
    }

    void remember(const char* failure, int error) {
        failure_ = std::string(failure) + " (" + std::to_string(error) + ")";
    }

    const std::string turnFile_ = turn_file();
    const ContextStrings strings_;
    const bool hasContext_ = glGetString(GL_VERSION) != nullptr;
    const bool isVersionCompared_ = facts_of_context().profile == survey::Profile::kCompatibility;
    std::vector<int> rendererIDs_;
    std::vector<CFStringRef> appIDs_;
    std::string failure_;
};

}  // namespace

}  // namespace texprobe

#endif
