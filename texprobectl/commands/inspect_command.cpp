#include <iostream>
#include <memory>

#include "commands/cell_names.h"
#include "commands/command_options.h"
#include "commands/commands.h"
#include "commands/selection.h"
#include "inspect/inspect.h"
#include "inspect/pictures.h"
#include "process/stop_signals.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

struct InspectArguments {
    std::string format;
    std::string capability;
    std::string set;
    std::string folder;
    int seconds = 60;
    bool alone = false;
};

Cell named_cell(const InspectArguments& arguments) {
    const Cell cell = {find_format(arguments.format), find_capability(arguments.capability)};
    if (cell.capability == kSupported) {
        throw UsageError(
            "create transfers no pixels, so there is nothing to inspect: it is yes where the "
            "driver keeps the internal format that a texture was defined with");
    }
    if (cell.capability == kRenderable) {
        throw UsageError(
            "render transfers no pixels, so there is nothing to inspect: it is yes where the "
            "driver keeps the internal format, and calls a framebuffer with such a texture "
            "complete");
    }
    return cell;
}

const RecordSet& chosen_set(const std::string& name, const RecordSets& all,
                            const Machine& machine) {
    if (!name.empty()) {
        const RecordSet& set = find_set(name, all);
        if (machine.lists(set.rendererID)) return set;
        throw UsageError("the renderer " + set.rendererID +
                         " of this record set is not on this machine, or not with these variables "
                         "of the environment; `texprobectl doctor` lists both");
    }
    return only_present_set(all);
}

int run_inspect(const InspectArguments& arguments, const Session& session) {
    const Cell cell = named_cell(arguments);
    const StopSignals stopSignals;
    const Machine machine = look_at_machine();
    const RecordSets all = read_all_record_sets(machine);
    const RecordSet& set = chosen_set(arguments.set, all, machine);
    const Inspection inspection =
        inspect({session.self, cell, arguments.alone, std::chrono::seconds(arguments.seconds)}, set,
                all, machine);
    print([&](const Terminal& terminal, std::ostream& stream) {
        write_inspection_text(inspection, terminal, stream);
    });
    if (!arguments.folder.empty() && inspection.evidence) {
        write_pictures(inspection, arguments.folder);
    } else if (!arguments.folder.empty()) {
        std::cerr << "texprobectl: there are no pictures, because no image came back\n";
    }
    return inspection.verdict ? 0 : 1;
}

}  // namespace

void add_inspect(CLI::App* app, Session* session) {
    CLI::App* command = app->add_subcommand(
        "inspect", "Repeat one transfer test, and show what the driver did in it");
    const auto arguments = std::make_shared<InspectArguments>();
    command->add_option("FORMAT", arguments->format, "as `show` names it, such as GL_RGBA8")
        ->required()
        ->type_name("");
    command->add_option("CAPABILITY", arguments->capability, "set, reset, get or read")
        ->required()
        ->type_name("");
    command->add_option("--set", arguments->set, kSet)->type_name("SET");
    command->add_flag("--alone", arguments->alone, "Do not replay the tests before it");
    add_seconds(command, "--timeout", &arguments->seconds, "How long a test may take");
    command->add_option("-o", arguments->folder, "Write pictures and raw bytes")
        ->type_name("FOLDER");
    command->footer(
        "Touches no record. Without --set: the set of this machine's present build.\n"
        "Status 0 when the test ran to its end, whatever its verdict.");
    command->callback([=] { session->status = run_inspect(*arguments, *session); });
}

}  // namespace texprobe::ctl
