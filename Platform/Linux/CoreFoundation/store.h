// The store of all applications' records: one database in one directory, opened when it is first
// needed. Decides what happens when it cannot be used: every cause is reported once, on standard
// error, and the caller goes on with what it has.

#ifndef TEXPROBE_PLATFORM_STORE_H
#define TEXPROBE_PLATFORM_STORE_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <string>

#include "connection.h"
#include "store_files.h"
#include "value.h"

namespace texprobe::platform {

/// What this process knows of one application's records.
struct ApplicationRecords {
    /// As last read from the store.
    Records stored;
    /// Set and removed since the last synchronization.
    Changes pending;
    /// All that this process has synchronized. It is written again when the database is lost under
    /// it, so that a run which goes on does not end with half of its records.
    Changes written;

    /// Which database, and which state of it, `stored` comes from.
    Identity origin;
    std::uint64_t revision = 0;
};

/// Not for several threads at a time.
class Store {
public:
    static constexpr std::chrono::milliseconds kPatience{10'000};

    /// An empty directory means that the user has none.
    explicit Store(std::string directory, std::chrono::milliseconds patience = kPatience);
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    /// Makes `stored` what is in the store. Writes nothing and makes no file. False when the store
    /// could not be read: `stored` is as it was.
    bool look(const std::string& application, ApplicationRecords* records);

    /// Makes the pending changes durable in one transaction, and `stored` what is in the store
    /// thereafter. False when the store could not be used: the changes stay pending.
    bool synchronize(const std::string& application, ApplicationRecords* records);

    /// Nothing stays open. The next use opens the database again.
    void close();

    /// The same without touching the files, and so without waiting for the disk.
    void abandon();

private:
    using Failure = std::optional<Problem>;
    enum class Purpose { kLook, kWrite };

    bool use(const std::string& application, ApplicationRecords* records, Purpose purpose);
    Failure attempt(const std::string& application, ApplicationRecords* records, Purpose purpose);
    Failure have_directory(Purpose purpose);
    Failure have_connection(Purpose purpose);
    Failure open(Purpose purpose);
    Failure refresh(const std::string& application, ApplicationRecords* records);
    Failure write(const std::string& application, ApplicationRecords* records);
    int apply(const std::string& application, const Changes& changes, Records* records);
    Problem failed(int code);
    int disk_error(int code) const;
    bool begin_anew(const Problem& damage);
    void report(const std::string& cause, const std::string& line);

    const std::string directory_;
    const std::string path_;
    const std::chrono::milliseconds patience_;
    /// Short after a wait in vain, so that a process which holds the lock for ever costs one long
    /// wait and not one for each synchronization.
    std::chrono::milliseconds present_patience_;

    Connection connection_;
    Access access_ = Access::kReadWrite;
    /// The file that was opened last, or that could not be.
    Identity identity_;
    int version_ = 0;
    std::uint64_t revision_ = 0;
    std::set<std::string> reported_;
};

}  // namespace texprobe::platform

#endif
