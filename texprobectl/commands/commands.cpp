#include "commands/commands.h"

#include <unistd.h>

#include <functional>
#include <iostream>
#include <memory>
#include <optional>

#include "commands/command_options.h"
#include "commands/forget_command.h"
#include "commands/inspect_command.h"
#include "commands/selection.h"
#include "commands/time_command.h"
#include "documents/document.h"
#include "documents/times_document.h"
#include "measure/find_tool.h"
#include "page/page.h"
#include "process/output_file.h"
#include "process/stop_signals.h"
#include "records/compare.h"
#include "records/plain_text.h"
#include "text/output.h"
#include "text/progress.h"

namespace texprobe::ctl {

namespace {

constexpr const char* kSetOrFile = "a record set, an exported file, or - for stdin";

// The values of one command's options. Shared, because the command runs later.
struct Arguments {
    std::vector<std::string> names;
    std::string file;
    std::string tool;
    std::vector<std::string> times;
    int seconds = 60;
    int attempts = 200;
    bool json = false;
    bool present = false;
    bool pictures = false;
};
using Shared = std::shared_ptr<Arguments>;

RecordSets read_all() {
    return read_all_record_sets(look_at_machine());
}

/// The same, read when they are first asked for.
std::function<const RecordSets&()> all_when_needed() {
    const auto all = std::make_shared<std::optional<RecordSets>>();
    return [all]() -> const RecordSets& {
        if (!*all) *all = read_all();
        return **all;
    };
}

std::unique_ptr<Output> make_output(const Arguments& arguments, std::ostream& stream) {
    if (arguments.json) return make_json_output(stream);
    return make_text_output(stream, look_at_terminal(STDOUT_FILENO));
}

void print(const Arguments& arguments, const std::function<void(Output&)>& write) {
    write_output({}, [&](std::ostream& stream) { write(*make_output(arguments, stream)); });
}

/// A document with an empty list is valid, but its reader wants to know.
void say_empty(const std::string& file, const char* what) {
    std::cerr << "texprobectl: " << plain(file) << " has no " << what << '\n';
}

void add_json(CLI::App* command, const Shared& arguments) {
    command->add_flag("--json", arguments->json, "Print a JSON document");
}

// measure

bool is_interrupted() {
    return StopSignals::received() != 0;
}

int report_measuring(const MeasureResult& result) {
    std::size_t open = 0;
    for (const RecordSet& set : result.after) open += set.unmeasured();
    switch (result.kind) {
        case MeasureResult::Kind::kComplete:
            return 0;
        case MeasureResult::Kind::kInterrupted:
            std::cerr << "Interrupted; nothing is lost: `texprobectl measure` continues with the "
                      << open << " verdicts that are still missing.\n";
            return 128 + StopSignals::received();
        default:
            std::cerr << "texprobectl: not complete: " << result.reason << '\n';
            return 1;
    }
}

int run_measure(const Arguments& arguments, const Session& session) {
    const std::string tool = arguments.tool.empty() ? find_tool(session.self) : arguments.tool;
    if (tool.empty()) {
        std::cerr << "texprobectl: texprobe was not found beside texprobectl or in PATH; give it "
                     "with --tool PATH\n";
        return 1;
    }
    const Machine machine = look_at_machine();
    if (machine.renderers.empty()) {
        std::cerr << "texprobectl: this machine lists no renderer"
                  << (machine.trouble.empty() ? "" : ": " + machine.trouble)
                  << "; `texprobectl doctor` says more\n";
        return 1;
    }
    const StopSignals stopSignals;
    const auto view =
        make_progress_view(std::cerr, look_at_terminal(STDERR_FILENO), is_interrupted);
    const MeasureResult result =
        measure({tool, arguments.seconds, arguments.attempts}, machine, *view);
    view->finish();
    write_output({}, [&](std::ostream& stream) {
        write_changes(result, stream, look_at_terminal(STDOUT_FILENO));
    });
    return report_measuring(result);
}

void add_measure(CLI::App* app, Session* session) {
    CLI::App* command = app->add_subcommand(
        "measure", "Measure this machine, past every crash and hang of its drivers");
    const auto arguments = std::make_shared<Arguments>();
    command->add_option("--tool", arguments->tool, "The texprobe to run")->type_name("PATH");
    command->add_option("--timeout", arguments->seconds, "How long a test may take")
        ->type_name("SECONDS")
        ->check(number_between(1, 86400))
        ->capture_default_str();
    command->add_option("--attempts", arguments->attempts, "How many runs to try before giving up")
        ->type_name("N")
        ->check(number_between(1, 1000000))
        ->capture_default_str();
    command->footer(
        "Ends with a table of the changes.\n"
        "Status 0 when all verdicts are recorded, whatever crashed.");
    command->callback([=] { session->status = run_measure(*arguments, *session); });
}

// list, show

void add_list(CLI::App* app) {
    CLI::App* command = app->add_subcommand("list", "One line for each record set");
    const auto arguments = std::make_shared<Arguments>();
    add_json(command, arguments);
    command->callback([=] { print(*arguments, [](Output& output) { output.list(read_all()); }); });
}

void run_show(const Arguments& arguments) {
    const RecordSets all = read_all();
    RecordSets shown;
    if (arguments.names.size() > 1) throw UsageError("show expects one record set, or none");
    for (const std::string& name : arguments.names) shown.push_back(find_set(name, all));
    if (arguments.names.empty()) shown = present_sets(all);
    if (shown.empty()) {
        throw UsageError(
            "nothing is recorded for this machine's present build; "
            "`texprobectl measure` measures it");
    }
    print(arguments, [&](Output& output) { output.show(shown); });
}

void add_show(CLI::App* app) {
    CLI::App* command =
        app->add_subcommand("show", "The sixteen formats by six capabilities of a record set");
    const auto arguments = std::make_shared<Arguments>();
    command->add_option("SET", arguments->names, kSet)->type_name("");
    add_json(command, arguments);
    command->footer("Without SET: the sets of this machine's present build.");
    command->callback([=] { run_show(*arguments); });
}

// compare

Comparison compare_named(const Arguments& arguments) {
    const auto all = all_when_needed();
    if (arguments.names.empty()) {
        Comparison comparison = compare_builds(all());
        if (comparison.pairs.empty()) {
            throw UsageError(
                "there is no earlier build to compare with; expected two record sets "
                "or exported files");
        }
        return comparison;
    }
    if (arguments.names.size() != 2) {
        throw UsageError("compare expects two record sets or exported files, or none");
    }
    const RecordSets a = find_sets_or_file(arguments.names[0], all);
    const RecordSets b = find_sets_or_file(arguments.names[1], all);
    if (a.empty() || b.empty()) {
        throw UsageError(arguments.names[a.empty() ? 0 : 1] + " has no record set to compare");
    }
    return compare(a, b);
}

void add_compare(CLI::App* app, Session* session) {
    CLI::App* command = app->add_subcommand("compare", "The differences between two record sets");
    const auto arguments = std::make_shared<Arguments>();
    command->add_option("SET", arguments->names, kSetOrFile)->type_name("");
    add_json(command, arguments);
    command->footer(
        "Without A and B: the present build of each renderer with the one before it.\n"
        "Status 0 when equal, 1 when not, 2 on trouble.");
    command->callback([=] {
        const Comparison comparison = compare_named(*arguments);
        print(*arguments, [&](Output& output) { output.comparison(comparison); });
        session->status = comparison.is_equal() ? 0 : 1;
    });
}

// export, report, merge

void run_export(const Arguments& arguments) {
    const RecordSets all = read_all();
    RecordSets sets = all;
    if (arguments.present) sets = present_sets(all);
    if (!arguments.names.empty()) {
        if (arguments.present) {
            throw UsageError("export expects record sets or --present, not both");
        }
        sets = find_sets(arguments.names, all);
    }
    if (sets.empty()) {
        throw UsageError(arguments.present && !all.empty()
                             ? "there is no record set of this machine's present build to export"
                             : "there is no record set to export");
    }
    write_output(arguments.file, [&](std::ostream& stream) { write_document(sets, stream); });
}

void add_export(CLI::App* app) {
    CLI::App* command = app->add_subcommand("export", "Record sets as a JSON document");
    const auto arguments = std::make_shared<Arguments>();
    command->add_option("SET", arguments->names, kSet)->type_name("");
    command->add_flag("--present", arguments->present,
                      "Those of this machine and its present build");
    command->add_option("-o", arguments->file, "Write to a file")->type_name("FILE");
    command->footer("Without SET: all of them.");
    command->callback([=] { run_export(*arguments); });
}

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

void run_report(const Arguments& arguments, const Session& session) {
    const auto all = all_when_needed();
    RecordSets sets;
    for (const std::string& name : arguments.names) {
        RecordSets found = find_sets_or_file(name, all);
        if (found.empty()) say_empty(name, "record set");
        for (RecordSet& set : found) sets.push_back(std::move(set));
    }
    if (arguments.names.empty()) sets = present_sets(all());
    if (sets.empty()) throw UsageError("there is no record set to report on");
    std::vector<PicturedNoes> pictured;
    if (arguments.pictures) pictured = picture_sets(sets, all(), session);
    std::vector<Times> times;
    for (const std::string& file : arguments.times) {
        std::vector<Times> found = read_times(file);
        if (found.empty()) say_empty(file, "time");
        for (Times& each : found) times.push_back(std::move(each));
    }
    write_output(arguments.file,
                 [&](std::ostream& stream) { write_page(sets, pictured, times, stream); });
}

void add_report(CLI::App* app, const Session* session) {
    CLI::App* command = app->add_subcommand("report", "Record sets as one page for a browser");
    const auto arguments = std::make_shared<Arguments>();
    command->add_option("SET", arguments->names, kSetOrFile)->type_name("");
    command->add_option("-o", arguments->file, "The page to write")
        ->type_name("FILE.html")
        ->required();
    command->add_flag("--pictures", arguments->pictures,
                      "Inspect each no of a transfer, and show the images");
    command->add_option("--times", arguments->times, "A document of `time --json` to plot")
        ->type_name("FILE")
        ->allow_extra_args(false);
    command->footer("Without SET or FILE: the sets of this machine's present build.");
    command->callback([=] { run_report(*arguments, *session); });
}

void add_merge(CLI::App* app) {
    CLI::App* command = app->add_subcommand("merge", "Sum up the record sets of many machines");
    const auto arguments = std::make_shared<Arguments>();
    command
        ->add_option("FILE", arguments->names, "exported, or printed by merge --json; - for stdin")
        ->required()
        ->type_name("");
    add_json(command, arguments);
    command->callback([=] {
        std::vector<std::string> empty;
        const Merged merged = merge_files(arguments->names, &empty);
        for (const std::string& file : empty) say_empty(file, "record set");
        if (merged.sets() == 0) throw UsageError("there is no record set to merge");
        print(*arguments, [&](Output& output) { output.merged(merged); });
    });
}

// doctor

void add_doctor(CLI::App* app, const Session* session) {
    CLI::App* command = app->add_subcommand(
        "doctor", "The diagnosis to send with a problem; names no user and no host");
    const auto arguments = std::make_shared<Arguments>();
    add_json(command, arguments);
    command->callback([=] {
        const StopSignals stopSignals;
        const Diagnosis diagnosis = examine(session->self, find_tool(session->self));
        print(*arguments, [&](Output& output) { output.diagnosis(diagnosis); });
    });
}

}  // namespace

void add_commands(CLI::App* app, Session* session) {
    add_measure(app, session);
    add_list(app);
    add_show(app);
    add_compare(app, session);
    add_inspect(app, session);
    add_export(app);
    add_report(app, session);
    add_merge(app);
    add_time(app, session);
    add_forget(app, session);
    add_doctor(app, session);
}

}  // namespace texprobe::ctl
