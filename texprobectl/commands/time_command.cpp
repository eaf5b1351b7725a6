#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <memory>

#include "commands/cell_names.h"
#include "commands/command_options.h"
#include "commands/commands.h"
#include "commands/selection.h"
#include "documents/write_json.h"
#include "process/stop_signals.h"
#include "text/progress.h"
#include "text/write_text.h"
#include "time/time_run.h"

namespace texprobe::ctl {

namespace {

struct TimeArguments {
    std::vector<std::string> formats;
    std::string size;
    std::string set;
    int seconds = 120;
    int limit = 60;
    bool json = false;
};

/// In the tool's order; all without a name.
std::vector<std::size_t> find_formats(const std::vector<std::string>& names) {
    std::vector<std::size_t> formats;
    formats.reserve(kFormatCount);
    for (const std::string& name : names) formats.push_back(find_format(name));
    for (std::size_t i = 0; names.empty() && i < kFormatCount; ++i) formats.push_back(i);
    std::sort(formats.begin(), formats.end());
    formats.erase(std::unique(formats.begin(), formats.end()), formats.end());
    return formats;
}

std::vector<ImageSize> find_sizes(const std::string& text) {
    if (text.empty()) return {kUsualSizes.begin(), kUsualSizes.end()};
    const auto size = parse_size(text);
    if (!size) {
        throw UsageError(
            "--size expects 128, 512, 1080p, 2160p, or the side of a square, a "
            "multiple of 4 from " +
            std::to_string(kLeastSide) + " to " + std::to_string(kMostSide) + ", not \"" + text +
            '"');
    }
    return {*size};
}

/// A set that can be timed here: of a renderer that is here, and of the present build.
RecordSet find_timed_set(const std::string& name) {
    const RecordSets all = read_all_record_sets(look_at_machine());
    if (!name.empty()) {
        const RecordSet& set = find_set(name, all);
        if (!set.isPresent) {
            throw UsageError(set.id +
                             " is not of this machine's present build, so its renderer "
                             "cannot be timed here");
        }
        return set;
    }
    return only_present_set(all);
}

bool has_numbers(const Times& times) {
    return std::any_of(times.transfers.begin(), times.transfers.end(),
                       [](const TransferTimes& transfer) { return !transfer.ways.empty(); });
}

int run_time(const TimeArguments& arguments, const Session& session) {
    const TimeOptions options{session.self, find_formats(arguments.formats),
                              find_sizes(arguments.size), arguments.seconds, arguments.limit};
    const RecordSet set = find_timed_set(arguments.set);
    const StopSignals stopSignals;
    const Times times = [&] {
        TimeView view(std::cerr, look_at_terminal(STDERR_FILENO));
        return time_transfers(set, options, view);
    }();
    print([&](const Terminal& terminal, std::ostream& stream) {
        if (arguments.json) return write_times_json(times, stream);
        write_times_text(times, terminal, stream);
    });
    StopSignals::check();
    return has_numbers(times) ? 0 : 1;
}

}  // namespace

void add_time(CLI::App* app, Session* session) {
    CLI::App* command = app->add_subcommand(
        "time", "How fast the verified transfers are, in each way of streaming");
    const auto arguments = std::make_shared<TimeArguments>();
    command->add_option("FORMAT", arguments->formats, "as `show` names them, such as GL_RGBA8")
        ->type_name("");
    command->add_option("--size", arguments->size, "Only 128, 512, 1080p, 2160p, or N by N")
        ->type_name("N");
    command->add_option("--set", arguments->set, kSet)->type_name("SET");
    add_seconds(command, "--within", &arguments->seconds, "Time for all of it, roughly");
    add_seconds(command, "--timeout", &arguments->limit, "How long a step may take");
    add_json(command, &arguments->json);
    command->footer(
        "Without FORMAT: all of them.\n"
        "Without --set: the set of this machine's present build.\n"
        "Formats and transfers whose verdict is not yes are not timed.\n"
        "Nothing is recorded. Status 0 when something was timed.");
    command->callback([=] { session->status = run_time(*arguments, *session); });
}

}  // namespace texprobe::ctl
