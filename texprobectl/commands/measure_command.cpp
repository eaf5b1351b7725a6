#include <unistd.h>

#include <chrono>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

#include "commands/commands.h"
#include "inspect/whose_noes.h"
#include "measure/find_program.h"
#include "process/stop_signals.h"
#include "text/progress.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

struct MeasureArguments : MeasureOptions {
    bool requiresHardware = false;
};

int report_measuring(const MeasureResult& result) {
    std::size_t open = 0;
    for (const RecordSet& set : result.after) open += set.unmeasured();
    if (result.kind == MeasureResult::Kind::kComplete) return 0;
    if (result.kind == MeasureResult::Kind::kInterrupted) {
        std::cerr << "Interrupted; nothing is lost. `texprobectl measure` continues with the "
                  << open << " verdicts that are still missing.\n";
        return 128 + StopSignals::received();
    }
    std::cerr << "texprobectl: not complete: " << result.reason << '\n';
    return 1;
}

int run_measure(MeasureArguments arguments, const Session& session) {
    if (arguments.tool.empty()) arguments.tool = find_program(session.self, kToolProgram);
    const Machine machine = look_at_machine();
    const std::string lack = describe_lack(kToolProgram, arguments.tool, machine);
    if (!lack.empty()) {
        std::cerr << "texprobectl: " << lack << '\n';
        return 1;
    }
    const StopSignals stopSignals;
    MeasureView view(std::cerr, look_at_terminal(STDERR_FILENO));
    MeasureResult result = measure(arguments, machine, view);
    view.finish();
    if (result.kind != MeasureResult::Kind::kInterrupted) {
        try {
            find_whose_noes(session.self, std::chrono::seconds(arguments.seconds), machine,
                            &result.after);
        } catch (const std::runtime_error&) {
            // The verdicts are recorded; the next `measure` tries it again.
        }
    }
    print([&](const Terminal& terminal, std::ostream& stream) {
        write_changes_text(result, terminal, stream);
    });
    const int status = report_measuring(result);
    // The new verdicts stay recorded.
    return arguments.requiresHardware && status == 0 ? require_hardware(result.after) : status;
}

}  // namespace

void add_measure(CLI::App* app, Session* session) {
    CLI::App* command = app->add_subcommand(
        "measure", "Measure this machine, past every crash and hang of its drivers");
    const auto arguments = std::make_shared<MeasureArguments>();
    command->add_option("--tool", arguments->tool, "The texprobe to run")->type_name("PATH");
    add_seconds(command, "--timeout", &arguments->seconds, "How long a test may take");
    command->add_option("--attempts", arguments->attempts, "How many runs to try before giving up")
        ->type_name("N")
        ->check(number_between(1, 1000000))
        ->capture_default_str();
    command->add_flag("--require-hardware", arguments->requiresHardware,
                      "Status 1 when all renderers are software");
    command->footer(
        "Ends with a table of the changes.\n"
        "Status 0 when all verdicts are recorded, whatever crashed.");
    command->callback([=] { session->status = run_measure(*arguments, *session); });
}

}  // namespace texprobe::ctl
