#include <memory>

#include "commands/command_options.h"
#include "commands/commands.h"
#include "commands/selection.h"
#include "documents/write_json.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

struct ShowArguments {
    std::vector<std::string> names;
    bool json = false;
};

void run_show(const ShowArguments& arguments) {
    const RecordSets all = read_all_record_sets(look_at_machine());
    if (arguments.names.size() > 1) throw UsageError("show expects one record set, or none");
    const RecordSets shown =
        arguments.names.empty() ? present_measured_sets(all) : find_sets(arguments.names, all);
    if (shown.empty()) {
        throw UsageError(
            "nothing is recorded for this machine's present build; "
            "`texprobectl measure` measures it");
    }
    print([&](const Terminal& terminal, std::ostream& stream) {
        if (arguments.json) return write_records_json(shown, stream);
        write_sets_text(shown, terminal, stream);
    });
}

}  // namespace

void add_show(CLI::App* app, Session*) {
    CLI::App* command =
        app->add_subcommand("show", "The sixteen formats by six capabilities of a record set");
    const auto arguments = std::make_shared<ShowArguments>();
    command->add_option("SET", arguments->names, kSet)->type_name("");
    add_json(command, &arguments->json);
    command->footer("Without SET: the sets of this machine's present build.");
    command->callback([=] { run_show(*arguments); });
}

}  // namespace texprobe::ctl
