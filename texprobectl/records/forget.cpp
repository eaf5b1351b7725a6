#include "records/forget.h"

#include "records/causes.h"
#include "records/preferences.h"
#include "records/survey_store.h"
#include "records/turn.h"

namespace texprobe::ctl {

namespace {

/// Every key that the application has, and those that a set may have: not every system lists them.
KeyChanges removals(const std::string& application) {
    KeyChanges changes;
    for (const std::string& key : list_keys(application)) changes[key] = std::nullopt;
    for (const char* key :
         {"VERSION", "GL_VENDOR", "GL_VERSION", "GL_RENDERER", kTimeKey, kRecordedKey}) {
        changes[key] = std::nullopt;
    }
    for_each_cell([&](const Cell& cell) { changes[key_of(cell)] = std::nullopt; });
    return changes;
}

KeyChanges removals_of_survey(const std::string& application) {
    KeyChanges changes;
    for (const std::string& key : list_keys(application)) changes[key] = std::nullopt;
    for (const std::string& key : survey_keys()) changes[key] = std::nullopt;
    return changes;
}

}  // namespace

Forgotten forget(const RecordSets& sets) {
    Forgotten forgotten;
    const auto remove = [&] {
        for (const RecordSet& set : sets) {
            // The causes first: without their records they count for nothing.
            const std::string survey = survey_of(set.id);
            if (!write(causes_of(set.id), removals(causes_of(set.id))) ||
                !write(survey, removals_of_survey(survey)) || !write(set.id, removals(set.id))) {
                forgotten.trouble = "the records cannot be written";
                return;
            }
            ++forgotten.sets;
        }
    };
    if (!under_turn([] { return false; }, remove)) {
        forgotten.trouble =
            name_of_holder(turn_holder()) + " is measuring; try again when it has ended";
    }
    return forgotten;
}

}  // namespace texprobe::ctl
