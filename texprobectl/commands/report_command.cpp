#include <unistd.h>

#include <iostream>
#include <memory>

#include "commands/commands.h"
#include "commands/selection.h"
#include "documents/document.h"
#include "page/page.h"
#include "process/output_file.h"
#include "process/stop_signals.h"

namespace texprobe::ctl {

namespace {

struct ReportArguments {
    std::vector<std::string> names;
    std::string file;
    std::vector<std::string> times;
    bool pictures = false;
};

/// On a terminal, says which test it inspects: a driver that hangs takes long.
std::vector<PicturedNoes> picture_sets(const RecordSets& sets, const RecordSets& all,
                                       const Session& session) {
    const StopSignals stopSignals;
    const Machine machine = look_at_machine();
    const bool isTerminal = look_at_terminal(STDERR_FILENO).isTerminal;
    std::vector<PicturedNoes> pictured;
    for (const RecordSet& set : sets) {
        pictured.push_back(picture_noes(session.self, set, all, machine, [&](const Cell& cell) {
            if (isTerminal) std::cerr << "inspecting " << key_of(cell) << '\n';
        }));
    }
    return pictured;
}

void run_report(const ReportArguments& arguments, const Session& session) {
    KnownSets known([] { return read_all_record_sets(look_at_machine()); });
    RecordSets sets;
    for (const std::string& name : arguments.names) {
        RecordSets found = known.find_or_read(name);
        if (found.empty()) say_empty(name, "record set");
        for (RecordSet& set : found) sets.push_back(std::move(set));
    }
    if (arguments.names.empty()) sets = present_sets(known.all());
    if (sets.empty()) throw UsageError("there is no record set to report on");
    std::vector<PicturedNoes> pictured;
    if (arguments.pictures) pictured = picture_sets(sets, known.all(), session);
    std::vector<Times> times;
    for (const std::string& file : arguments.times) {
        if (read_times(file, &times) == 0) say_empty(file, "time");
    }
    write_output(arguments.file,
                 [&](std::ostream& stream) { write_page(sets, pictured, times, stream); });
}

}  // namespace

void add_report(CLI::App* app, Session* session) {
    CLI::App* command = app->add_subcommand("report", "Record sets as one page for a browser");
    const auto arguments = std::make_shared<ReportArguments>();
    command->add_option("SET", arguments->names, kSetOrFile)->type_name("");
    command->add_option("-o", arguments->file, "The page to write")
        ->type_name("FILE.html")
        ->required();
    command->add_flag("--pictures", arguments->pictures,
                      "Inspect each no; pictures where it is the driver's");
    command->add_option("--times", arguments->times, "A document of `time --json` to add")
        ->type_name("FILE")
        ->allow_extra_args(false);
    command->footer("Without SET or FILE: the sets of this machine's present build.");
    command->callback([=] { run_report(*arguments, *session); });
}

}  // namespace texprobe::ctl
