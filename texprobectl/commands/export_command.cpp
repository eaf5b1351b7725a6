#include <memory>

#include "commands/commands.h"
#include "commands/selection.h"
#include "documents/write_json.h"
#include "process/output_file.h"

namespace texprobe::ctl {

namespace {

struct ExportArguments {
    std::vector<std::string> names;
    std::string file;
    bool present = false;
};

void run_export(const ExportArguments& arguments) {
    const RecordSets all = read_all_record_sets(look_at_machine());
    if (arguments.present && !arguments.names.empty()) {
        throw UsageError("export expects record sets or --present, not both");
    }
    const RecordSets sets = arguments.present         ? present_sets(all)
                            : arguments.names.empty() ? all
                                                      : find_sets(arguments.names, all);
    if (sets.empty()) {
        throw UsageError(arguments.present && !all.empty()
                             ? "there is no record set of this machine's present build to export"
                             : "there is no record set to export");
    }
    write_output(arguments.file, [&](std::ostream& stream) { write_records_json(sets, stream); });
}

}  // namespace

void add_export(CLI::App* app, Session*) {
    CLI::App* command = app->add_subcommand("export", "Record sets as a JSON document");
    const auto arguments = std::make_shared<ExportArguments>();
    command->add_option("SET", arguments->names, kSet)->type_name("");
    command->add_flag("--present", arguments->present,
                      "Those of this machine and its present build");
    command->add_option("-o", arguments->file, "Write to a file")->type_name("FILE");
    command->footer("Without SET: all of them.");
    command->callback([=] { run_export(*arguments); });
}

}  // namespace texprobe::ctl
