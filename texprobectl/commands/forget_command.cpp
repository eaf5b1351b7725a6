#include <iostream>
#include <memory>

#include "commands/commands.h"
#include "commands/selection.h"
#include "process/terminal.h"
#include "records/forget.h"
#include "records/plain_text.h"
#include "text/text_matrix.h"

namespace texprobe::ctl {

namespace {

struct ForgetArguments {
    std::vector<std::string> names;
    bool all = false;
    bool outdated = false;
    bool yes = false;
};

RecordSets sets_to_forget(const ForgetArguments& arguments, const RecordSets& all) {
    const int ways = (arguments.names.empty() ? 0 : 1) + arguments.all + arguments.outdated;
    if (ways != 1) throw UsageError("forget expects record sets, --all or --outdated");
    if (arguments.all) return all;
    if (!arguments.outdated) return find_sets(arguments.names, all);
    RecordSets outdated = all;
    std::erase_if(outdated, [](const RecordSet& set) { return set.isPresent; });
    return outdated;
}

/// Identifiers are numbers: the renderer and the driver tell which set it is.
std::string describe_forgotten(const RecordSet& set) {
    const std::string survey = set.survey.empty() ? "" : "its survey";
    if (!is_measured(set)) return set.id + ": " + survey;
    return set.id + ": " + renderer_name(set) + ", " + short_driver(set.glVersion) +
           (survey.empty() ? "" : "; and " + survey);
}

int run_forget(const ForgetArguments& arguments) {
    const RecordSets sets = sets_to_forget(arguments, read_all_record_sets(look_at_machine()));
    if (sets.empty()) {
        std::cerr << "There is nothing to forget.\n";
        return 0;
    }
    for (const RecordSet& set : sets) std::cerr << describe_forgotten(plain(set)) << '\n';
    if (!arguments.yes) {
        if (!can_ask()) {
            throw UsageError("there is no terminal to ask on; --yes removes these record sets");
        }
        if (!ask("Remove these record sets?")) return 1;
    }
    const Forgotten forgotten = forget(sets);
    std::cerr << forgotten.sets << (forgotten.sets == 1 ? " record set" : " record sets")
              << " removed.\n";
    if (forgotten.trouble.empty()) return 0;
    std::cerr << "texprobectl: " << forgotten.trouble << '\n';
    return 1;
}

}  // namespace

void add_forget(CLI::App* app, Session* session) {
    CLI::App* command =
        app->add_subcommand("forget", "Remove record sets, so that they are measured again");
    const auto arguments = std::make_shared<ForgetArguments>();
    command->add_option("SET", arguments->names, kSet)->type_name("");
    command->add_flag("--all", arguments->all, "All of them");
    command->add_flag("--outdated", arguments->outdated, "Those of other machines and builds");
    command->add_flag("--yes", arguments->yes, "Do not ask");
    command->callback([=] { session->status = run_forget(*arguments); });
}

}  // namespace texprobe::ctl
