#include "stored_records.h"

#include <sqlite3.h>

#include <memory>
#include <stdexcept>

namespace texprobe::tests {

namespace {

int collect(void* sets, int /*columns*/, char** values, char** /*names*/) {
    Records& records = (*static_cast<RecordSets*>(sets))[values[0]];
    records[values[1]] = std::string(values[2]) + " " + (values[3] ? values[3] : "NULL");
    return 0;
}

/// Collects the rows where there are `sets` for them.
void must_execute(const std::filesystem::path& database, const std::string& sql, RecordSets* sets) {
    sqlite3* handle = nullptr;
    int code = sqlite3_open_v2(database.c_str(), &handle, SQLITE_OPEN_READWRITE, nullptr);
    const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> closed(handle, sqlite3_close);
    sqlite3_busy_timeout(handle, 10000);
    const auto callback = sets ? collect : nullptr;
    if (code == SQLITE_OK) code = sqlite3_exec(handle, sql.c_str(), callback, sets, nullptr);
    if (code == SQLITE_OK) return;
    throw std::runtime_error(database.string() + ": " + sql + ": " + sqlite3_errmsg(handle));
}

}  // namespace

RecordSets read_store(const std::filesystem::path& database) {
    RecordSets sets;
    if (!std::filesystem::exists(database)) return sets;
    must_execute(database, "SELECT application, key, type, value FROM records", &sets);
    return sets;
}

void execute_on_store(const std::filesystem::path& database, const std::string& sql) {
    must_execute(database, sql, nullptr);
}

}  // namespace texprobe::tests
