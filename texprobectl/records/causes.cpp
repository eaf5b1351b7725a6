#include "records/causes.h"

#include <array>
#include <charconv>
#include <string_view>

namespace texprobe::ctl {

namespace {

constexpr const char* kCausesDomain = "org.texprobe.texprobectl";
constexpr const char* kRunningKey = "RUNNING_TOOL";
/// By whose no it is.
constexpr std::array<const char*, 3> kSeen = {"seen", "seen test", "seen other"};

std::optional<int> number_in(std::string_view text) {
    int number = 0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
    if (end.ec != std::errc() || end.ptr != text.data() + text.size()) return std::nullopt;
    return number;
}

std::optional<Cause> parse_cause(std::string_view text) {
    if (const auto whose = find_name(kSeen, text)) return Seen{static_cast<Seen::Whose>(*whose)};
    const std::size_t space = text.find(' ');
    if (space == std::string_view::npos) return std::nullopt;
    const std::string_view kind = text.substr(0, space);
    const std::string_view rest = text.substr(space + 1);
    if (kind == "signal") return Crashed{std::string(rest)};
    const auto number = number_in(rest);
    if (kind == "status" && number) return Exited{*number};
    if (kind == "seconds" && number) return Hung{*number};
    return std::nullopt;
}

}  // namespace

std::string causes_of(const std::string& id) {
    return kCausesDomain + id.substr(kDomain.size());
}

std::optional<Cause> read_cause(const std::string& id, const Cell& cell) {
    const auto text = read_text(causes_of(id), key_of(cell));
    return text ? parse_cause(*text) : std::nullopt;
}

std::string cause_text(const Cause& cause) {
    if (const auto* crashed = std::get_if<Crashed>(&cause)) return "signal " + crashed->signal;
    if (const auto* exited = std::get_if<Exited>(&cause)) {
        return "status " + std::to_string(exited->status);
    }
    if (const auto* hung = std::get_if<Hung>(&cause)) {
        return "seconds " + std::to_string(hung->seconds);
    }
    return kSeen[static_cast<std::size_t>(std::get<Seen>(cause).whose)];
}

std::optional<std::string> read_time(const std::string& id) {
    return read_text(causes_of(id), kTimeKey);
}

/// "4711 <identity>"
std::optional<StartedTool> read_running_tool() {
    refresh(kCausesDomain);
    const std::string text = read_text(kCausesDomain, kRunningKey).value_or("");
    const std::size_t space = text.find(' ');
    const auto process = number_in(std::string_view(text).substr(0, space));
    if (!process || space == std::string::npos) return std::nullopt;
    return StartedTool{*process, text.substr(space + 1)};
}

bool write_running_tool(const std::optional<StartedTool>& tool) {
    KeyChange change;
    if (tool) change = std::to_string(tool->process) + ' ' + tool->identity;
    return write(kCausesDomain, {{kRunningKey, change}});
}

}  // namespace texprobe::ctl
