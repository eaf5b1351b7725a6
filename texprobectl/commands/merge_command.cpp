#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <system_error>

#include "commands/commands.h"
#include "commands/selection.h"
#include "documents/merge.h"
#include "documents/write_json.h"
#include "records/plain_text.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

constexpr const char* kDocument = ".json";

struct MergeArguments {
    std::vector<std::string> files;
    bool json = false;
};

/// A name is given with the file, or is the file's own.
MachineFile named_file(const std::string& text) {
    const std::string::size_type equals = text.find('=');
    std::error_code ignored;
    const bool isNamed = equals != std::string::npos && equals > 0 && equals < text.find('/') &&
                         !std::filesystem::exists(text, ignored);
    if (isNamed) return {text.substr(0, equals), text.substr(equals + 1)};
    if (text == "-") return {"standard input", text};
    const std::filesystem::path name = std::filesystem::path(text).filename();
    return {(name.extension() == kDocument ? name.stem() : name).string(), text};
}

std::vector<MachineFile> documents_in(const std::string& folder) {
    std::vector<MachineFile> files;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code ignored;
        if (entry->path().extension() != kDocument || entry->is_directory(ignored)) continue;
        files.push_back({entry->path().stem().string(), entry->path().string()});
    }
    if (error) throw UsageError(folder + ": " + error.message());
    if (files.empty()) say_empty(folder, "*.json");
    std::sort(files.begin(), files.end(),
              [](const MachineFile& a, const MachineFile& b) { return a.file < b.file; });
    return files;
}

std::vector<MachineFile> files_of(const std::vector<std::string>& arguments) {
    std::vector<MachineFile> files;
    for (const std::string& argument : arguments) {
        std::error_code ignored;
        std::vector<MachineFile> some = {named_file(argument)};
        if (std::filesystem::is_directory(argument, ignored)) some = documents_in(argument);
        for (MachineFile& file : some) files.push_back(std::move(file));
    }
    return files;
}

void run_merge(const MergeArguments& arguments) {
    LeftOut leftOut;
    const Merged merged = merge_files(files_of(arguments.files), &leftOut);
    for (const std::string& file : leftOut.empty) say_empty(file, "record set");
    for (const auto& [machine, file] : leftOut.repeated) {
        std::cerr << "texprobectl: " << plain(file) << " is not counted: " << plain(machine)
                  << " was given before; NAME=FILE names another machine\n";
    }
    if (merged.drivers().empty()) throw UsageError("there is no record set to merge");
    print([&](const Terminal& terminal, std::ostream& stream) {
        if (arguments.json) return write_merged_json(merged, stream);
        write_merged_text(merged, terminal, stream);
    });
}

}  // namespace

void add_merge(CLI::App* app, Session*) {
    CLI::App* command = app->add_subcommand("merge", "Sum up the record sets of many machines");
    const auto arguments = std::make_shared<MergeArguments>();
    command
        ->add_option("FILE", arguments->files, "exported, or printed by merge --json; - for stdin")
        ->required()
        ->type_name("");
    add_json(command, &arguments->json);
    command->footer(
        "A folder stands for its *.json.\n"
        "A machine's name is that of its file without .json, or NAME in NAME=FILE.\n"
        "The machines that differ from others come first.");
    command->callback([=] { run_merge(*arguments); });
}

}  // namespace texprobe::ctl
