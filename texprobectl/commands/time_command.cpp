#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>

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
    std::string size = "1080p";
    std::string set;
    /// 0: five for each format.
    int seconds = 0;
    int limit = 60;
    bool json = false;
};

/// All without a name.
std::set<std::size_t> find_formats(const std::vector<std::string>& names) {
    std::set<std::size_t> formats;
    for (const std::string& name : names) formats.insert(find_format(name));
    for (std::size_t i = 0; names.empty() && i < kFormatCount; ++i) formats.insert(i);
    return formats;
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

int run_time(const TimeArguments& arguments, const Session& session) {
    TimeOptions options;
    options.self = session.self;
    options.formats = find_formats(arguments.formats);
    const auto size = parse_size(arguments.size);
    if (!size) {
        throw UsageError(
            "--size expects 1080p, 2160p, or the side of a square, a multiple of 4 from 4 to "
            "4096, not \"" +
            arguments.size + '"');
    }
    options.size = *size;
    options.limit = std::chrono::seconds(arguments.limit);
    const int five = 5 * static_cast<int>(options.formats.size());
    options.within = std::chrono::seconds(arguments.seconds > 0 ? arguments.seconds : five);
    const RecordSet set = find_timed_set(arguments.set);
    const StopSignals stopSignals;
    const Times times = [&] {
        const Terminal terminal = look_at_terminal(STDERR_FILENO);
        StatusLine line(std::cerr, terminal);
        options.watch = [&](const Cell& cell, double seconds) {
            if (!terminal.isTerminal) return;
            const auto all = static_cast<std::size_t>(options.within.count());
            const std::size_t done = std::min(static_cast<std::size_t>(seconds), all);
            line.draw(draw_bar(done, all) + fmt::format("{}/{} s  {}", done, all, words_of(cell)));
        };
        return time_transfers(set, options);
    }();
    print([&](const Terminal& terminal, std::ostream& stream) {
        if (arguments.json) return write_times_json(times, stream);
        write_times_text(times, terminal, stream);
    });
    StopSignals::check();
    const bool hasNumbers =
        std::any_of(times.transfers.begin(), times.transfers.end(),
                    [](const TransferTimes& transfer) { return !transfer.ways.empty(); });
    return hasNumbers ? 0 : 1;
}

}  // namespace

void add_time(CLI::App* app, Session* session) {
    CLI::App* command = app->add_subcommand(
        "time", "How many images per second the verified transfers move, with and without buffers");
    const auto arguments = std::make_shared<TimeArguments>();
    command->add_option("FORMAT", arguments->formats, "as `show` names them, such as GL_RGBA8")
        ->type_name("");
    command->add_option("--size", arguments->size, "1080p (the default), 2160p, or N by N")
        ->type_name("N");
    command->add_option("--set", arguments->set, kSet)->type_name("SET");
    add_seconds(command, "--within", &arguments->seconds,
                "Time for all of it; by default 5 s a format");
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
