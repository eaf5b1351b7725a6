#include <memory>

#include "commands/commands.h"
#include "commands/selection.h"
#include "documents/write_json.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

struct ShowArguments {
    std::vector<std::string> names;
    bool json = false;
    bool markdown = false;
    bool isOneTable = false;
};

RecordSets shown_sets(const std::vector<std::string>& names) {
    KnownSets known([] { return read_all_record_sets(look_at_machine()); });
    if (names.size() > 1) throw UsageError("show expects one record set or exported file, or none");
    RecordSets sets = names.empty() ? present_sets(known.all()) : known.find_or_read(names.front());
    std::erase_if(sets, [](const RecordSet& set) { return !is_measured(set); });
    if (!sets.empty()) return sets;
    throw UsageError(names.empty() ? "nothing is recorded for this machine's present build; "
                                     "`texprobectl measure` measures it"
                                   : names.front() + " has no verdicts to show");
}

void run_show(const ShowArguments& arguments) {
    const RecordSets sets = shown_sets(arguments.names);
    print([&](const Terminal& terminal, std::ostream& stream) {
        if (arguments.json) return write_records_json(sets, stream);
        if (arguments.markdown) return write_sets_markdown(sets, arguments.isOneTable, stream);
        if (arguments.isOneTable) return write_renderers_text(sets, terminal, stream);
        write_sets_text(sets, terminal, stream);
    });
}

}  // namespace

void add_show(CLI::App* app, Session*) {
    CLI::App* command =
        app->add_subcommand("show", "The sixteen formats by six capabilities of a record set");
    const auto arguments = std::make_shared<ShowArguments>();
    command->add_option("SET", arguments->names, kSetOrFile)->type_name("");
    command->add_flag("--all-renderers", arguments->isOneTable,
                      "One table, with a column for each of them");
    command->add_flag("--markdown", arguments->markdown, "Tables for a forge's issue");
    add_json(command, &arguments->json);
    command->footer("Without SET or FILE: the sets of this machine's present build.");
    command->callback([=] { run_show(*arguments); });
}

}  // namespace texprobe::ctl
