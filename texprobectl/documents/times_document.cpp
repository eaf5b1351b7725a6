#include <algorithm>

#include "documents/document.h"
#include "documents/json_lines.h"
#include "documents/write_json.h"
#include "time/times.h"

namespace texprobe::ctl {

namespace {

constexpr const char* kTimesSchema = "texprobe-times";

Json way_of(const TransferTimes& transfer, const TimedWay& timed) {
    const double images = 1.0 / timed.seconds.median;
    return {{"way", name_of(timed.way, transfer.what.cell.capability)},
            {"rounds", timed.rounds},
            {"lower_seconds", timed.seconds.lower},
            {"median_seconds", timed.seconds.median},
            {"upper_seconds", timed.seconds.upper},
            {"megabytes_per_second", static_cast<double>(transfer.bytes) * images / 1e6},
            {"images_per_second", images}};
}

/// Each says of which record set it is, so that the documents of several can be put together.
Json transfer_of(const Times& times, const TransferTimes& transfer) {
    const TimedTransfer& what = transfer.what;
    return {{"id", times.id},
            {"renderer", text_or_null(times.renderer)},
            {"gl_version", text_or_null(times.glVersion)},
            {"name", kFormats[what.cell.format].name},
            {"internal_format", kFormats[what.cell.format].internalFormat},
            {"transfer", kCapabilities[what.cell.capability].member},
            {"width", what.size.width},
            {"height", what.size.height},
            {"state", name_of(transfer.state)},
            {"reason", transfer.reason},
            {"image_bytes", transfer.bytes},
            {"ways", list_of(transfer.ways,
                             [&](const TimedWay& timed) { return way_of(transfer, timed); })}};
}

constexpr const char* kNotKnown = "\"{1}\" is {0}, which is not known";

std::optional<Capability> find_transfer(const std::string& member) {
    const auto capability = capability_named(member);
    return capability && *capability >= kUploadSet ? capability : std::nullopt;
}

double read_seconds(const Element& object, const char* member) {
    const Element value = object.member(member);
    const double seconds = value.json().is_number() ? value.json().get<double>() : -1.0;
    // No clock measures less, and a speed must not be infinite.
    if (!(seconds >= 1e-12 && seconds < 1e9)) {
        value.fail('"' + std::string(member) + "\" must be a number of seconds from 1e-12 to 1e9");
    }
    return seconds;
}

std::optional<std::string> find_way_name(const std::string& name) {
    // Those that are timed, and those of older documents.
    for (const char* known : {"no_buffer", "one_fresh", "one_kept", "three_kept", "copy",
                              "one_range", "three_fresh", "three_range"}) {
        if (name == known) return name;
    }
    return std::nullopt;
}

/// None for a way that older versions timed.
std::optional<TimedWay> read_way(const Element& value, Capability transfer) {
    const std::string name = value.known("way", find_way_name, kNotKnown);
    std::size_t way = 0;
    while (way < kWayCount && name != name_of(way, transfer)) ++way;
    if (way == kWayCount) return std::nullopt;
    TimedWay timed;
    timed.way = way;
    timed.rounds = value.integer("rounds", 1, INT32_MAX);
    timed.seconds = {read_seconds(value, "lower_seconds"), read_seconds(value, "median_seconds"),
                     read_seconds(value, "upper_seconds")};
    if (timed.seconds.lower > timed.seconds.median || timed.seconds.median > timed.seconds.upper) {
        value.fail("the lower, median and upper seconds must be in this order");
    }
    return timed;
}

TransferTimes read_transfer(const Element& value) {
    TransferTimes transfer;
    transfer.what.cell.format = value.known("name", format_named, kNotKnown);
    transfer.what.cell.capability = value.known("transfer", find_transfer, kNotKnown);
    transfer.what.size = {value.integer("width", 1, 1 << 20), value.integer("height", 1, 1 << 20)};
    transfer.state = static_cast<TimedState>(value.known(
        "state", [](const auto& name) { return find_name(kTimedStateNames, name); }, kNotKnown));
    transfer.reason = value.text("reason");
    transfer.bytes =
        static_cast<std::size_t>(value.integer("image_bytes", 0, std::int64_t{1} << 40));
    for (const Element& way : value.list("ways")) {
        if (const auto timed = read_way(way, transfer.what.cell.capability)) {
            transfer.ways.push_back(*timed);
        }
    }
    if (transfer.bytes == 0 && !transfer.ways.empty()) {
        value.member("image_bytes").fail("\"image_bytes\" is 0, and an image was timed");
    }
    return transfer;
}

}  // namespace

void write_times_json(const Times& times, std::ostream& output) {
    Json document = begin_document(kTimesSchema);
    document["transfers"] = list_of(times.transfers, [&](const TransferTimes& transfer) {
        return transfer_of(times, transfer);
    });
    output << lines_of(document, "\n") << '\n';
}

std::size_t read_times(const std::string& file, std::vector<Times>* all) {
    const auto read = [&](const Element& value) {
        const std::string& id = value.text("id");
        auto found = std::find_if(all->begin(), all->end(),
                                  [&](const Times& times) { return times.id == id; });
        if (found == all->end()) {
            all->push_back(
                {id, value.text_or_null("renderer"), value.text_or_null("gl_version"), {}});
            found = all->end() - 1;
        }
        found->transfers.push_back(read_transfer(value));
    };
    return read_document(file, {{kTimesSchema, "transfers", read}});
}

}  // namespace texprobe::ctl
