#include "commands/commands.h"

#include <unistd.h>

#include <iostream>
#include <vector>

#include "process/output_file.h"
#include "records/plain_text.h"
#include "records/software.h"
#include "text/text_matrix.h"

namespace texprobe::ctl {

void add_commands(CLI::App* app, Session* session) {
    for (const auto add : {add_measure, add_list, add_show, add_survey, add_compare, add_inspect,
                           add_export, add_report, add_merge, add_time, add_forget, add_doctor}) {
        add(app, session);
    }
}

void add_json(CLI::App* command, bool* json) {
    command->add_flag("--json", *json, "Print a JSON document");
}

void add_seconds(CLI::App* command, const char* name, int* seconds, const char* description) {
    command->add_option(name, *seconds, description)
        ->type_name("SECONDS")
        ->check(number_between(1, 86400))
        ->capture_default_str();
}

CLI::Validator number_between(int least, int most) {
    return CLI::Validator(
        [=](const std::string& text) {
            int number = 0;
            if (CLI::detail::lexical_cast(text, number) && number >= least && number <= most) {
                return std::string();
            }
            return "expected a number from " + std::to_string(least) + " to " +
                   std::to_string(most) + ", not \"" + text + '"';
        },
        "");
}

void print(const std::function<void(const Terminal&, std::ostream&)>& write) {
    write_output({}, [&](std::ostream& stream) { write(look_at_terminal(STDOUT_FILENO), stream); });
}

std::string describe_lack(const char* name, const std::string& program, const Machine& machine) {
    if (program.empty()) {
        return std::string(name) +
               " was not found beside texprobectl or in PATH; give it with --tool PATH";
    }
    if (!machine.renderers.empty()) return {};
    return "this machine lists no renderer" +
           (machine.trouble.empty() ? "" : ": " + machine.trouble) +
           "; `texprobectl doctor` says more";
}

void say_empty(const std::string& file, const char* what) {
    std::cerr << "texprobectl: " << plain(file) << " has no " << what << '\n';
}

int require_hardware(const RecordSets& sets) {
    std::vector<NamedRenderer> renderers;
    for (const RecordSet& set : sets) {
        renderers.push_back({renderer_name(plain(set)), set.isSoftware});
    }
    const std::string trouble = trouble_without_hardware(renderers);
    if (trouble.empty()) return 0;
    std::cerr << "texprobectl: " << trouble << '\n';
    return 1;
}

}  // namespace texprobe::ctl
