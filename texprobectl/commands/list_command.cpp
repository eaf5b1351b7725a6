#include <memory>

#include "commands/commands.h"
#include "documents/write_json.h"
#include "records/catalogue.h"
#include "text/write_text.h"

namespace texprobe::ctl {

void add_list(CLI::App* app, Session*) {
    CLI::App* command = app->add_subcommand("list", "One line for each record set");
    const auto json = std::make_shared<bool>();
    add_json(command, json.get());
    command->callback([=] {
        const RecordSets all = read_all_record_sets(look_at_machine());
        print([&](const Terminal& terminal, std::ostream& stream) {
            if (*json) return write_records_json(all, stream);
            write_list_text(all, terminal, stream);
        });
    });
}

}  // namespace texprobe::ctl
