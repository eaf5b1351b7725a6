// This process's view of all preferences, over the store.

#ifndef TEXPROBE_PLATFORM_PREFERENCES_H
#define TEXPROBE_PLATFORM_PREFERENCES_H

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "store.h"
#include "value.h"

namespace texprobe::platform {

/// May be used by several threads.
class Preferences {
public:
    explicit Preferences(std::string directory,
                         std::chrono::milliseconds patience = Store::kPatience)
        : store_(std::in_place, std::move(directory), patience) {}

    /// The one that the public functions work on. Lives until the process has ended, so that it
    /// serves the destructors of the application's own objects, too.
    static Preferences& of_process();

    std::optional<Value> value(const std::string& application, const std::string& key);

    /// Sets and removes at once, as far as this process sees.
    void change(const std::string& application, const Changes& changes);

    bool synchronize(const std::string& application);

    void close();

    /// Around a fork: no other thread is in here, and nothing is open that parent and child would
    /// both own.
    void lock_for_fork();
    void unlock_after_fork();

private:
    /// Those in `records_directory()`, which is asked for at the first use.
    Preferences() = default;

    Store& store();

    struct Application {
        ApplicationRecords records;
        bool is_known = false;
    };

    std::mutex mutex_;
    std::optional<Store> store_;
    std::map<std::string, Application> applications_;
};

}  // namespace texprobe::platform

#endif
