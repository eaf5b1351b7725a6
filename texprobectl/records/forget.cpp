#include "records/forget.h"

#include "records/causes.h"
#include "records/preferences.h"
#include "records/survey_store.h"
#include "records/turn.h"

namespace texprobe::ctl {

namespace {

/// Of every key that the application has, and of those that it may have: not every system lists
/// them.
bool remove_keys(const std::string& application, const std::vector<std::string>& known) {
    KeyChanges changes;
    for (const std::string& key : list_keys(application)) changes[key] = std::nullopt;
    for (const std::string& key : known) changes[key] = std::nullopt;
    return write(application, changes);
}

std::vector<std::string> keys_of_set() {
    std::vector<std::string> keys = {"VERSION",     "GL_VENDOR", "GL_VERSION",
                                     "GL_RENDERER", kTimeKey,    kRecordedKey};
    for_each_cell([&](const Cell& cell) { keys.push_back(key_of(cell)); });
    return keys;
}

}  // namespace

Forgotten forget(const RecordSets& sets) {
    Forgotten forgotten;
    const auto removeAll = [&] {
        for (const RecordSet& set : sets) {
            // The causes first: without their records they count for nothing.
            if (!remove_keys(causes_of(set.id), keys_of_set()) ||
                !remove_keys(survey_of(set.id), survey_keys()) ||
                !remove_keys(set.id, keys_of_set())) {
                forgotten.trouble = "the records cannot be written";
                return;
            }
            ++forgotten.sets;
        }
    };
    if (!under_turn([] { return false; }, removeAll)) {
        forgotten.trouble =
            name_of_holder(turn_holder()) + " is measuring; try again when it has ended";
    }
    return forgotten;
}

}  // namespace texprobe::ctl
