#include "documents/merged_document.h"

#include <fmt/format.h>

#include "documents/json_lines.h"
#include "documents/write_json.h"

namespace texprobe::ctl {

namespace {

constexpr auto kMostCounts = static_cast<std::int64_t>(kMostSets);

Json counts_of(const VerdictCounts& counts) {
    Json object = Json::object();
    for (std::size_t i = 0; i < kVerdictCount; ++i) object[kVerdictNames[i]] = counts[i];
    return object;
}

void write_formats(const CellCounts& cells, const std::string& indent, std::ostream& output) {
    output << "\"formats\": [";
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        Json object = {{"name", kFormats[format].name},
                       {"internal_format", kFormats[format].internalFormat}};
        for (std::size_t capability = 0; capability < kCapabilityCount; ++capability) {
            object[kCapabilities[capability].member] = counts_of(cells[format][capability]);
        }
        output << (format == 0 ? "\n" : ",\n") << indent << "  " << line_of(object);
    }
    output << "\n" << indent << "]";
}

void write_driver(const Driver& driver, const Counted& counted, std::ostream& output) {
    const Json members = {{"renderer_id", driver.rendererID},
                          {"system_build", driver.systemBuild},
                          {"vendor", text_or_null(driver.vendor)},
                          {"gl_version", text_or_null(driver.glVersion)},
                          {"renderer", text_or_null(driver.renderer)},
                          {"sets", counted.sets},
                          {"complete", counted.complete}};
    output << "    {\n";
    for (const auto& [name, value] : members.items()) {
        output << "      \"" << name << "\": " << line_of(value) << ",\n";
    }
    output << "      ";
    write_formats(counted.cells, "      ", output);
    output << "\n    }";
}

VerdictCounts read_counts(const Json& format, const char* name, Count sets, const Expect& expect) {
    const Json& value = expect.member(format, name);
    VerdictCounts counts;
    Count sum = 0;
    for (std::size_t i = 0; i < kVerdictCount; ++i) {
        counts[i] = static_cast<Count>(expect.integer(value, kVerdictNames[i], 0, kMostCounts));
        sum += counts[i];
    }
    if (sum != sets) {
        expect.fail(value, fmt::format("\"{}\" counts {} sets; expected {}", name, sum, sets));
    }
    return counts;
}

}  // namespace

void write_merged_json(const Merged& merged, std::ostream& output) {
    const Counted total = merged.total();
    output << "{\n  \"schema\": \"" << kMergedSchema
           << "\",\n  \"schema_version\": " << kSchemaVersion << ",\n  \"sets\": " << total.sets
           << ",\n  \"complete\": " << total.complete << ",\n  ";
    write_formats(total.cells, "  ", output);
    output << ",\n  \"drivers\": [";
    bool isFirst = true;
    for (const auto& [driver, counted] : merged.drivers()) {
        output << (isFirst ? "\n" : ",\n");
        isFirst = false;
        write_driver(driver, counted, output);
    }
    output << (isFirst ? "]\n}\n" : "\n  ]\n}\n");
}

void read_merged(const Json& value, const Expect& expect, Merged* merged) {
    const Driver driver{expect.text(value, "renderer_id"), expect.text(value, "system_build"),
                        expect.text_or_null(value, "vendor"),
                        expect.text_or_null(value, "gl_version"),
                        expect.text_or_null(value, "renderer")};
    Counted counted;
    counted.sets = static_cast<Count>(expect.integer(value, "sets", 1, kMostCounts));
    counted.complete = static_cast<Count>(
        expect.integer(value, "complete", 0, static_cast<std::int64_t>(counted.sets)));
    const Json& formats = expect.formats(value);
    for_each_cell([&](const Cell& cell) {
        counted.cells[cell.format][cell.capability] = read_counts(
            formats[cell.format], kCapabilities[cell.capability].member, counted.sets, expect);
    });
    merged->add(driver, counted);
}

}  // namespace texprobe::ctl
