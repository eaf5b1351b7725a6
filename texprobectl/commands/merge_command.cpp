#include <memory>

#include "commands/command_options.h"
#include "commands/commands.h"
#include "commands/selection.h"
#include "documents/merge.h"
#include "documents/write_json.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

struct MergeArguments {
    std::vector<std::string> files;
    bool json = false;
};

}  // namespace

void add_merge(CLI::App* app, Session*) {
    CLI::App* command = app->add_subcommand("merge", "Sum up the record sets of many machines");
    const auto arguments = std::make_shared<MergeArguments>();
    command
        ->add_option("FILE", arguments->files, "exported, or printed by merge --json; - for stdin")
        ->required()
        ->type_name("");
    add_json(command, &arguments->json);
    command->callback([=] {
        std::vector<std::string> empty;
        const Merged merged = merge_files(arguments->files, &empty);
        for (const std::string& file : empty) say_empty(file, "record set");
        if (merged.sets() == 0) throw UsageError("there is no record set to merge");
        print([&](const Terminal& terminal, std::ostream& stream) {
            if (arguments->json) return write_merged_json(merged, stream);
            write_merged_text(merged, terminal, stream);
        });
    });
}

}  // namespace texprobe::ctl
