#include <memory>

#include "commands/commands.h"
#include "commands/selection.h"
#include "documents/write_json.h"
#include "records/compare.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

struct CompareArguments {
    std::vector<std::string> names;
    bool json = false;
};

Comparison compare_named(const std::vector<std::string>& names) {
    KnownSets known([] { return read_all_record_sets(look_at_machine()); });
    if (names.empty()) {
        Comparison comparison = compare_builds(known.all());
        if (comparison.pairs.empty()) {
            throw UsageError(
                "there is no earlier build to compare with; expected two record sets "
                "or exported files");
        }
        return comparison;
    }
    if (names.size() != 2) {
        throw UsageError("compare expects two record sets or exported files, or none");
    }
    const RecordSets a = known.find_or_read(names[0]);
    const RecordSets b = known.find_or_read(names[1]);
    if (a.empty() || b.empty()) {
        throw UsageError(names[a.empty() ? 0 : 1] + " has no record set to compare");
    }
    return compare(a, b);
}

}  // namespace

void add_compare(CLI::App* app, Session* session) {
    CLI::App* command = app->add_subcommand("compare", "The differences between two record sets");
    const auto arguments = std::make_shared<CompareArguments>();
    command->add_option("SET", arguments->names, kSetOrFile)->type_name("");
    add_json(command, &arguments->json);
    command->footer(
        "Without A and B: the present build of each renderer with the one before it.\n"
        "Status 0 when equal, 1 when not, 2 on trouble.");
    command->callback([=] {
        const Comparison comparison = compare_named(arguments->names);
        print([&](const Terminal& terminal, std::ostream& stream) {
            if (arguments->json) return write_comparison_json(comparison, stream);
            write_comparison_text(comparison, terminal, stream);
        });
        session->status = comparison.is_equal() ? 0 : 1;
    });
}

}  // namespace texprobe::ctl
