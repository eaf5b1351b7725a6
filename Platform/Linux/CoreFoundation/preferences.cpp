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

// When the program is loaded, and so before there are threads: a fork in the midst of the first use
// would leave the child with a first use that never ends.
[[maybe_unused]] const Preferences& made_at_load = Preferences::of_process();

}  // namespace

Preferences& Preferences::of_process() {
    static Preferences& preferences = *new Preferences;
    static const ClosedAtExit closed_at_exit{preferences};
    // The files' locks are not inherited by a child, and closing there would act on the parent's
    // files.
    [[maybe_unused]] static const int registered =
        pthread_atfork([] { preferences.lock_for_fork(); }, [] { preferences.unlock_after_fork(); },
                       [] { preferences.unlock_after_fork(); });
    return preferences;
}

Store& Preferences::store() {
    if (!store_) store_.emplace(records_directory());
    return *store_;
}

std::optional<Value> Preferences::value(const std::string& application, const std::string& key) {
    const std::lock_guard lock(mutex_);
    auto& [records, is_known] = applications_[application];
    const auto changed = records.pending.find(key);
    if (changed != records.pending.end()) return changed->second;
    if (!is_known) store().look(application, &records);
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
    const bool synchronized = store().synchronize(application, &records);
    is_known = is_known || synchronized;
    return synchronized;
}

void Preferences::close() {
    const std::lock_guard lock(mutex_);
    if (store_) store_->close();
}

void Preferences::lock_for_fork() {
    mutex_.lock();
    if (store_) store_->abandon();
}

void Preferences::unlock_after_fork() {
    mutex_.unlock();
}

}  // namespace texprobe::platform
