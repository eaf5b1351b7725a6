#include <unistd.h>

#include <iostream>
#include <memory>

#include "commands/commands.h"
#include "commands/selection.h"
#include "doctor/doctor.h"
#include "documents/write_json.h"
#include "measure/find_program.h"
#include "measure/survey_runs.h"
#include "process/stop_signals.h"
#include "records/plain_text.h"
#include "text/progress.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

// More than a driver needs that dies in each format.
constexpr int kAttempts = 2000;

struct SurveyArguments {
    std::vector<std::string> names;
    std::string profile;
    std::string format;
    std::string tool;
    int seconds = 60;
    bool json = false;
    bool requiresHardware = false;
};

/// Of a renderer that the tool has not measured, a context tells the name.
void name_by_context(const std::string& self, RecordSet* set) {
    if (set->renderer) return;
    const auto id = static_cast<std::uint32_t>(std::stoul(set->rendererID, nullptr, 16));
    const std::string name = examine_renderer(self, id).renderer;
    if (!name.empty()) set->renderer = name;
}

/// Surveys the missing parts of these sets, and reads them.
RunsResult survey_present(const SurveyArguments& arguments, const SurveyChoice& choice,
                          const std::vector<std::string>& ids, const Session& session,
                          RecordSets* sets) {
    const Machine machine = look_at_machine();
    const std::string program =
        arguments.tool.empty() ? find_program(session.self, kSurveyProgram) : arguments.tool;
    RunsResult result;
    result.reason = describe_lack(kSurveyProgram, program, machine);
    sets->clear();
    if (!result.reason.empty()) return result;
    MeasureView view(std::cerr, look_at_terminal(STDERR_FILENO));
    result = run_survey({program, arguments.seconds, kAttempts}, choice, ids, view);
    view.finish();
    if (result.kind == RunsResult::Kind::kInterrupted) return result;
    for (const std::string& id : ids) {
        auto set = read_record_set(id, machine);
        if (!set || set->survey.empty()) continue;
        if (!arguments.json) name_by_context(session.self, &*set);
        sets->push_back(std::move(*set));
    }
    return result;
}

/// Those of documents, and of other machines and builds.
RunsResult look_at_others(const SurveyChoice& choice, RecordSets* sets) {
    std::erase_if(*sets, [](const RecordSet& set) { return set.survey.empty(); });
    if (sets->empty()) throw UsageError("there is no survey to show");
    RunsResult result{RunsResult::Kind::kComplete, ""};
    for (const RecordSet& set : *sets) {
        const std::string missing = describe_missing(set.survey, choice, set.rendererID);
        if (!missing.empty()) result = {RunsResult::Kind::kGivenUp, missing};
    }
    return result;
}

int run_survey_command(const SurveyArguments& arguments, const Session& session) {
    const auto& names = arguments.names;
    if (names.size() > 1) {
        throw UsageError("survey expects one record set or exported file, or none");
    }
    const SurveyChoice choice = find_choice(arguments.profile, arguments.format);
    RecordSets sets;
    std::vector<std::string> ids;
    if (names.empty()) {
        ids = present_ids(look_at_machine());
    } else {
        KnownSets known([] { return read_all_record_sets(look_at_machine()); });
        sets = known.find_or_read(names.front());
        if (!is_document(names.front()) && sets.front().isPresent) ids = {sets.front().id};
    }
    const StopSignals stopSignals;
    const RunsResult result = names.empty() || !ids.empty()
                                  ? survey_present(arguments, choice, ids, session, &sets)
                                  : look_at_others(choice, &sets);
    if (result.kind == RunsResult::Kind::kInterrupted) {
        std::cerr << "Interrupted; nothing is lost. `texprobectl survey` goes on from here.\n";
        return 128 + StopSignals::received();
    }
    print([&](const Terminal& terminal, std::ostream& stream) {
        if (arguments.json) return write_records_json(sets, stream);
        write_survey_text(sets, choice, terminal, stream);
    });
    if (result.kind == RunsResult::Kind::kComplete) {
        return arguments.requiresHardware ? require_hardware(sets) : 0;
    }
    std::cerr << "texprobectl: not complete: " << plain(result.reason) << '\n';
    return 1;
}

}  // namespace

void add_survey(CLI::App* app, Session* session) {
    CLI::App* command =
        app->add_subcommand("survey", "What the formats of today can do in each kind of context");
    const auto arguments = std::make_shared<SurveyArguments>();
    command->add_option("SET", arguments->names, kSetOrFile)->type_name("");
    command->add_option("--profile", arguments->profile, "Only compatibility, core or es")
        ->type_name("NAME");
    command->add_option("--format", arguments->format, "Only this one, such as GL_RGBA16F")
        ->type_name("NAME");
    command->add_option("--tool", arguments->tool, "The texprobe-survey to run")->type_name("PATH");
    add_seconds(command, "--timeout", &arguments->seconds, "How long a format may take");
    command->add_flag("--require-hardware", arguments->requiresHardware,
                      "Status 1 when all renderers are software");
    add_json(command, &arguments->json);
    command->footer(
        "Without SET or FILE: surveys what this machine's renderers lack, and shows it.\n"
        "Status 0 when everything that was asked for is recorded, whatever the verdicts.");
    command->callback([=] { session->status = run_survey_command(*arguments, *session); });
}

}  // namespace texprobe::ctl
