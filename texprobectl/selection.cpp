#include "selection.h"

#include <charconv>
#include <filesystem>

#include "document.h"

namespace texprobe::ctl {

const RecordSet& find_set(const std::string& text, const RecordSets& all) {
    // A short number is a place in the list; an identifier's digits are longer.
    std::size_t number = 0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = end.ec == std::errc() && end.ptr == text.data() + text.size();
    if (isNumber && number >= 1 && number <= all.size()) return all[number - 1];

    std::vector<const RecordSet*> found;
    for (const RecordSet& set : all) {
        if (set.id == text) return set;
        if (!text.empty() && set.id.find(text) != std::string::npos) found.push_back(&set);
    }
    if (found.size() == 1) return *found.front();
    // A renderer's whole ID means that renderer, although it may stand in a build, too.
    const RecordSet* named = nullptr;
    std::size_t count = 0;
    for (const RecordSet* set : found) {
        if (set->rendererID != text) continue;
        named = set;
        ++count;
    }
    if (count == 1) return *named;
    if (found.empty()) {
        throw UsageError("no record set matches \"" + text +
                         "\"; expected an identifier, a part of one, or a number that "
                         "`texprobectl list` shows");
    }
    throw UsageError("\"" + text + "\" matches " + std::to_string(found.size()) +
                     " record sets; expected a part that only one identifier has, or a number "
                     "that `texprobectl list` shows");
}

RecordSets find_sets_or_file(const std::string& text, const RecordSets& all) {
    std::error_code ignored;
    if (text == "-" || std::filesystem::exists(text, ignored)) return read_documents({text});
    return {find_set(text, all)};
}

RecordSets present_sets(const RecordSets& all) {
    RecordSets present;
    for (const RecordSet& set : all) {
        if (set.isPresent) present.push_back(set);
    }
    return present;
}

const RecordSet& only_present_set(const RecordSets& all) {
    const RecordSets present = present_sets(all);
    if (present.empty()) {
        throw UsageError(
            "nothing is recorded for this machine's present build; `texprobectl measure` measures "
            "it");
    }
    if (present.size() > 1) {
        throw UsageError("there are " + std::to_string(present.size()) +
                         " record sets of this machine's present build; choose one with --set");
    }
    return find_set(present.front().id, all);
}

}  // namespace texprobe::ctl
