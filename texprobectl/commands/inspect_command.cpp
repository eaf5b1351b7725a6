#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <system_error>
#include <vector>

#include "commands/commands.h"
#include "commands/selection.h"
#include "documents/write_json.h"
#include "inspect/inspect.h"
#include "inspect/inspected_use.h"
#include "inspect/pictures.h"
#include "measure/find_program.h"
#include "process/stop_signals.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

struct InspectArguments {
    std::string format;
    /// One word, or those of a use in a layout.
    std::vector<std::string> capability;
    std::string profile;
    std::string tool;
    std::string set;
    std::string folder;
    int seconds = 60;
    bool alone = false;
    bool all = false;
    bool calls = false;
    bool json = false;
};

/// The words, with blanks between.
std::string asked(const InspectArguments& arguments) {
    std::string text;
    for (const std::string& word : arguments.capability) text += (text.empty() ? "" : " ") + word;
    return text;
}

/// The one that is named, or every no of the set.
std::vector<Cell> chosen_cells(const InspectArguments& arguments, const RecordSet& set) {
    if (!arguments.all) {
        return {{find_format(arguments.format), find_capability(asked(arguments))}};
    }
    std::vector<Cell> cells;
    for_each_cell([&](const Cell& cell) {
        if (is_failure(set.verdict(cell))) cells.push_back(cell);
    });
    return cells;
}

/// The same of the survey: the question that is named, or all whose verdict is told.
std::vector<UseCell> chosen_uses(const InspectArguments& arguments, const RecordSet& set) {
    const SurveyChoice choice = find_choice(arguments.profile, arguments.format);
    std::vector<UseCell> cells;
    for (const survey::Format& format : survey::formats()) {
        if (!choice.has(format)) continue;
        for (const survey::Question& question : questions_of(format, *choice.profile)) {
            const UseCell cell = {*choice.profile, &format, question};
            const auto recorded = recorded_verdict(set, cell);
            if (arguments.all ? recorded && is_told(recorded->verdict)
                              : name_of(question) == asked(arguments)) {
                cells.push_back(cell);
            }
        }
    }
    if (cells.empty() && !arguments.all) {
        throw UsageError("the survey does not ask \"" + asked(arguments) + "\" of " +
                         arguments.format + " in this profile; `texprobectl survey --format " +
                         arguments.format + "` lists what it asks");
    }
    return cells;
}

void check_words(const InspectArguments& arguments) {
    const bool isNamed = !arguments.format.empty();
    if (arguments.all == isNamed || isNamed == arguments.capability.empty()) {
        throw UsageError("inspect expects a format and a capability, or --all");
    }
    const bool isOfSurvey = !arguments.profile.empty();
    if (isOfSurvey ? arguments.alone || arguments.calls : !arguments.tool.empty()) {
        throw UsageError(
            "--alone and --calls are of the tool's tests, --tool is of the survey, which is "
            "inspected with --profile");
    }
    if (isOfSurvey) {
        find_choice(arguments.profile, arguments.format);
    } else if (!arguments.all) {
        find_format(arguments.format);
        find_capability(asked(arguments));
    }
}

const RecordSet& chosen_set(const std::string& name, const RecordSets& all, const Machine& machine,
                            bool isSurveyed = false) {
    if (!name.empty()) {
        const RecordSet& set = find_set(name, all);
        if (machine.lists(set.rendererID)) return set;
        throw UsageError("the renderer " + set.rendererID +
                         " of this record set is not on this machine, or not with these variables "
                         "of the environment; `texprobectl doctor` lists both");
    }
    return only_present_set(all, isSurveyed);
}

/// Of several, each has a folder of its own; `name` is empty where there is no image.
template <class Inspected, class Name>
void write_all_pictures(const std::vector<Inspected>& inspections, const std::string& folder,
                        Name name) {
    std::size_t count = 0;
    std::error_code ignored;
    if (inspections.size() > 1) std::filesystem::create_directory(folder, ignored);
    for (const Inspected& each : inspections) {
        if (name(each).empty()) continue;
        ++count;
        write_pictures(each, inspections.size() == 1 ? folder : folder + '/' + name(each));
    }
    if (count == 0) {
        std::cerr << "texprobectl: there are no pictures, because no image came back\n";
    }
}

int run_inspect_use(const InspectArguments& arguments, const Session& session) {
    const Machine machine = look_at_machine();
    const std::string program =
        arguments.tool.empty() ? find_program(session.self, kSurveyProgram) : arguments.tool;
    const std::string lack = describe_lack(kSurveyProgram, program, machine);
    if (!lack.empty()) throw UsageError(lack);
    const RecordSets all = read_all_record_sets(machine);
    const RecordSet& set = chosen_set(arguments.set, all, machine, true);
    std::vector<UseInspection> inspections;
    bool areRun = true;
    for (const UseCell& cell : chosen_uses(arguments, set)) {
        inspections.push_back(
            inspect_use({program, std::chrono::seconds(arguments.seconds)}, cell, set));
        areRun &= inspections.back().now.has_value();
    }
    print([&](const Terminal& terminal, std::ostream& stream) {
        if (arguments.json) return write_inspections_json(inspections, stream);
        const char* between = "";
        for (const UseInspection& each : inspections) {
            stream << between;
            write_inspection_text(each, terminal, stream);
            between = "\n";
        }
    });
    const auto nameOf = [](const UseInspection& each) {
        std::string name = std::string(each.cell.format->name) + '-' + name_of(each.cell.question);
        std::replace(name.begin(), name.end(), ' ', '-');
        return each.texels ? name : "";
    };
    if (!arguments.folder.empty()) write_all_pictures(inspections, arguments.folder, nameOf);
    return areRun ? 0 : 1;
}

int run_inspect(const InspectArguments& arguments, const Session& session) {
    check_words(arguments);
    const StopSignals stopSignals;
    if (!arguments.profile.empty()) return run_inspect_use(arguments, session);
    const Machine machine = look_at_machine();
    const RecordSets all = read_all_record_sets(machine);
    const RecordSet& set = chosen_set(arguments.set, all, machine);
    std::vector<Inspection> inspections;
    bool areRun = true;
    for (const Cell& cell : chosen_cells(arguments, set)) {
        const std::chrono::seconds limit(arguments.seconds);
        inspections.push_back(
            inspect({session.self, cell, arguments.alone, limit}, {set, all, machine}));
        areRun &= inspections.back().verdict.has_value();
    }
    print([&](const Terminal& terminal, std::ostream& stream) {
        if (arguments.json) return write_inspections_json(inspections, arguments.calls, stream);
        if (arguments.all && !arguments.calls) return write_findings_text(inspections, stream);
        for (const Inspection& each : inspections) {
            write_inspection_text(each, arguments.calls, terminal, stream);
        }
    });
    const auto nameOf = [](const Inspection& each) {
        return each.evidence ? key_of(each.cell) : std::string();
    };
    if (!arguments.folder.empty()) write_all_pictures(inspections, arguments.folder, nameOf);
    return areRun ? 0 : 1;
}

}  // namespace

void add_inspect(CLI::App* app, Session* session) {
    CLI::App* command =
        app->add_subcommand("inspect", "Repeat a test, and show what the driver did in it");
    const auto arguments = std::make_shared<InspectArguments>();
    command->add_option("FORMAT", arguments->format, "as `show` names it, such as GL_RGBA8")
        ->type_name("");
    command
        ->add_option("CAPABILITY", arguments->capability,
                     "create, render, set, reset, get or read; with --profile, a use of the "
                     "survey, such as mipmap, or upload GL_RGBA GL_FLOAT")
        ->type_name("");
    command
        ->add_option("--profile", arguments->profile,
                     "The survey's compatibility, core or es, instead of the tool's tests")
        ->type_name("NAME");
    command->add_option("--tool", arguments->tool, "The texprobe-survey to run")->type_name("PATH");
    command->add_flag("--all", arguments->all, "Every no of the set");
    command->add_option("--set", arguments->set, kSet)->type_name("SET");
    command->add_flag("--alone", arguments->alone, "Do not replay the tests before it");
    command->add_flag("--calls", arguments->calls, "Show the test's calls of OpenGL");
    add_seconds(command, "--timeout", &arguments->seconds, "How long a test may take");
    command->add_option("-o", arguments->folder, "Write pictures and raw bytes")
        ->type_name("FOLDER");
    add_json(command, &arguments->json);
    command->footer(
        "Touches no record. Without --set: the set of this machine's present build.\n"
        "Status 0 when the test ran to its end, whatever its verdict.");
    command->callback([=] { session->status = run_inspect(*arguments, *session); });
}

}  // namespace texprobe::ctl
