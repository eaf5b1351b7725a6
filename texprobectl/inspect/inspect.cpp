#include "inspect/inspect.h"

#include <fmt/format.h>

#include "inspect/child_run.h"

namespace texprobe::ctl {

namespace {

/// Why there is no verdict.
std::string describe_end(const ChildReport& report, const Cell& cell, const std::string& failure) {
    const std::string reason = report.trouble.empty() ? "" : " (" + report.trouble + ")";
    if (!report.lastTest) {
        return fmt::format("The renderer could not be set up: the process {}{}.", failure, reason);
    }
    if (!(*report.lastTest == cell)) {
        return fmt::format(
            "The test was not reached: that of {}, which comes before it, {}{}; --alone does "
            "without those.",
            words_of(*report.lastTest), failure, reason);
    }
    if (report.calls.empty()) return fmt::format("The test {}{}.", failure, reason);
    const InspectedCall& last = report.calls.back();
    return fmt::format("The test {}{}: it was {} {}.", failure, reason,
                       last.hasReturned ? "after" : "in",
                       last.text + (last.result.empty() ? "" : ", which gave " + last.result));
}

/// Why the test was not run.
std::string describe_precondition(const ChildReport& report, const Cell& cell) {
    Cell missing = cell;
    while (const auto needed = precondition(missing.capability)) {
        missing.capability = *needed;
        if (report.verdict(missing)) break;
    }
    return fmt::format(
        "The test was not run, because it needs {}, which is a no; --alone runs it anyhow.",
        words_of(missing));
}

/// The first error that OpenGL has reported; the others mostly follow from it.
std::string describe_errors(const ChildReport& report) {
    for (const InspectedCall& call : report.calls) {
        if (call.errors.empty()) continue;
        return fmt::format(" OpenGL reported {} after {}.", call.errors.front(),
                           call.text.substr(0, call.text.find('(')));
    }
    return "";
}

/// The texture as the driver defined it; it holds no image.
std::string describe_definition(const ChildReport& report, const Cell& cell) {
    const char* const format = kFormats[cell.format].name;
    if (report.calls.empty()) {
        return "The renderer lacks framebuffer objects, without which the test is a no.";
    }
    std::string chosen;
    std::string status;
    for (const InspectedCall& call : report.calls) {
        if (!call.chosen.empty()) chosen = call.chosen;
        if (call.text.rfind("glCheckFramebufferStatus", 0) == 0) status = call.result;
    }
    std::string sentence = chosen == format
                               ? fmt::format("The driver keeps {}", format)
                               : fmt::format("The driver chose {} instead of {}", chosen, format);
    if (!status.empty()) sentence += fmt::format("; the framebuffer's status is {}", status);
    return sentence + '.';
}

void decide(const Cell& cell, const ChildRun& run, Inspection* inspection) {
    const ChildReport& report = run.report();
    if (!run.failure().empty()) {
        inspection->sentence = describe_end(report, cell, run.failure());
        return;
    }
    inspection->verdict = report.verdict(cell);
    inspection->score = report.score;
    if (!inspection->verdict) {
        inspection->sentence = describe_precondition(report, cell);
    } else if (!is_transfer(cell.capability)) {
        inspection->sentence = describe_definition(report, cell) + describe_errors(report);
    } else if (!inspection->evidence) {
        inspection->sentence =
            "The renderer lacks pixel buffer objects or framebuffer objects, without which the "
            "test is a no.";
    } else {
        inspection->analysis = analyse(*inspection->evidence);
        inspection->sentence = inspection->analysis->sentence + describe_errors(report);
    }
}

}  // namespace

bool Inspection::is_of_test() const {
    return verdict == false && evidence && is_right(*evidence);
}

Inspection inspect(const InspectOptions& options, const KnownMachine& known) {
    const ChildRun run(options, {options.cell},
                       options.isAlone ? InspectionMode::kAlone : InspectionMode::kReplay, known);
    const ChildReport& report = run.report();
    Inspection inspection;
    inspection.id = known.set.id;
    inspection.renderer = known.set.renderer.value_or("unknown renderer");
    inspection.cell = options.cell;
    inspection.isAlone = options.isAlone;
    inspection.recorded = known.set.verdict(options.cell);
    inspection.isOfPresentBuild = known.set.systemBuild == known.machine.systemBuild;
    inspection.calls = report.calls;
    inspection.pendingErrors = report.pendingErrors;
    inspection.evidence = run.evidence(options.cell);
    decide(options.cell, run, &inspection);
    return inspection;
}

}  // namespace texprobe::ctl
