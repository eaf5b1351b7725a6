#include "preferences.h"

#include <pthread.h>

#include <utility>

#include "records_location.h"

namespace texprobe::platform {

namespace {

struct ClosedAtExit {
    Preferences& preferences;
    ~ClosedAtExit() { preferences.close(); }
};

}  // namespace

Preferences& Preferences::of_process() {
    static Preferences& preferences = *new Preferences(records_directory());
    static const ClosedAtExit closed_at_exit{preferences};
    // The files' locks are not inherited by a child, and closing there would act on the parent's
    // files.
    [[maybe_unused]] static const int registered =
        pthread_atfork([] { preferences.lock_for_fork(); }, [] { preferences.unlock_after_fork(); },
                       [] { preferences.unlock_after_fork(); });
    return preferences;
}

std::optional<Value> Preferences::value(const std::string& application, const std::string& key) {
    const std::lock_guard lock(mutex_);
    auto& [records, is_known] = applications_[application];
    const auto changed = records.pending.find(key);
    if (changed != records.pending.end()) return changed->second;
    if (!is_known) store_.look(application, &records);
    is_known = true;
    const auto stored = records.stored.find(key);
    return stored == records.stored.end() ? std::nullopt : std::optional(stored->second);
}

void Preferences::change(const std::string& application, const Changes& changes) {
    const std::lock_guard lock(mutex_);
    Changes& pending = applications_[application].records.pending;
    for (const auto& [key, value] : changes) pending.insert_or_assign(key, value);
}

bool Preferences::synchronize(const std::string& application) {
    const std::lock_guard lock(mutex_);
    auto& [records, is_known] = applications_[application];
    const bool synchronized = store_.synchronize(application, &records);
    is_known = is_known || synchronized;
    return synchronized;
}

void Preferences::close() {
    const std::lock_guard lock(mutex_);
    store_.close();
}

void Preferences::lock_for_fork() {
    mutex_.lock();
    store_.abandon();
}

void Preferences::unlock_after_fork() {
    mutex_.unlock();
}

}  // namespace texprobe::platform
