// A store of records, read and changed without texprobe's own code.

#ifndef TEXPROBE_TESTS_STORED_RECORDS_H
#define TEXPROBE_TESTS_STORED_RECORDS_H

#include <filesystem>
#include <map>
#include <string>

namespace texprobe::tests {

/// Each record as its type and text, such as "boolean 1" or "string Mesa".
using Records = std::map<std::string, std::string>;
/// Records by application identifier.
using RecordSets = std::map<std::string, Records>;

/// Everything in the store; nothing if there is none.
RecordSets read_store(const std::filesystem::path& database);

/// Runs SQL statements on the store.
void execute_on_store(const std::filesystem::path& database, const std::string& sql);

}  // namespace texprobe::tests

#endif
