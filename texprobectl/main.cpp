// texprobectl: the records, for people and for programs.

#include <algorithm>
#include <clocale>
#include <csignal>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "measure/find_program.h"
#include "process/child.h"
#include "process/stop_signals.h"
#include "records/plain_text.h"

namespace {

constexpr int kTrouble = 2;

/// The words that may follow `app`'s name.
std::string expected_by(const CLI::App& app) {
    std::vector<std::string> words;
    for (const CLI::App* command : app.get_subcommands({})) words.push_back(command->get_name());
    if (!words.empty()) return "one of " + texprobe::ctl::joined(words);
    for (const CLI::Option* option : app.get_options()) {
        if (!option->get_group().empty()) words.push_back(option->get_name());
    }
    return texprobe::ctl::joined(words);
}

/// One line: the error, and the expected words.
int explain(const CLI::App& app, const CLI::ParseError& error) {
    const auto given = app.get_subcommands();
    const CLI::App& command = given.empty() ? app : *given.front();
    const std::string name = given.empty() ? "" : command.get_name() + ' ';
    std::string text = error.what();
    const auto unknown = app.remaining(true);
    if (!unknown.empty()) {
        text = "unknown argument: " + unknown.front() + "; expected " + expected_by(command);
    } else if (given.empty()) {
        text = "a command is missing; expected " + expected_by(command);
    }
    std::cerr << "texprobectl: " << texprobe::ctl::plain(text) << "; see `texprobectl " << name
              << "--help`\n";
    return kTrouble;
}

/// "help COMMAND" is "COMMAND --help".
std::vector<std::string> with_help_as_option(std::vector<std::string> words) {
    if (words.empty() || words.front() != "help") return words;
    words.erase(words.begin());
    words.emplace_back("--help");
    return words;
}

int run(int argc, char** argv) {
    CLI::App app("The records of texprobe: measure, read, compare and share them.", "texprobectl");
    texprobe::ctl::Session session;
    session.self = texprobe::ctl::find_self(argv[0]);
    app.set_version_flag("--version", "texprobectl " TEXPROBECTL_VERSION);
    app.require_subcommand(1);
    texprobe::ctl::add_commands(&app, &session);
    // After the commands, whose help would end with it, too.
    app.footer("`texprobectl COMMAND --help` says more of each; texprobectl(1) says all.");
    std::vector<std::string> words = with_help_as_option({argv + 1, argv + argc});
    // The parser takes them from the end.
    std::reverse(words.begin(), words.end());
    try {
        app.parse(words);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app.exit(error);
        return explain(app, error);
    }
    return session.status;
}

}  // namespace

int main(int argc, char** argv) {
    std::setlocale(LC_CTYPE, "");
    // A reader that goes away is an error of the write, which is reported.
    std::signal(SIGPIPE, SIG_IGN);
    // If the parent ignores it, this program would lose its children's statuses.
    std::signal(SIGCHLD, SIG_DFL);
    try {
        const std::vector<std::string> words(argv + 1, argv + argc);
        if (words.size() >= 2 && words[0] == texprobe::ctl::kChildWord) {
            return texprobe::ctl::run_child_task(words[1], {words.begin() + 2, words.end()});
        }
        return run(argc, argv);
    } catch (const texprobe::ctl::Interrupted& interruption) {
        std::cerr << "texprobectl: interrupted\n";
        return 128 + interruption.signal();
    } catch (const std::exception& error) {
        std::cerr << "texprobectl: " << texprobe::ctl::plain(error.what()) << '\n';
        return kTrouble;
    }
}
