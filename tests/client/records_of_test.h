// Records for tests that run the class in their own process: each test has its own store, in the
// folder of the tool that it starts.

#ifndef TEXPROBE_TESTS_RECORDS_OF_TEST_H
#define TEXPROBE_TESTS_RECORDS_OF_TEST_H

#include <chrono>
#include <filesystem>
#include <string>

#include "support/tool_folder.h"

namespace texprobe::tests {

/// Sets the location of this process's records. Must be called before any record is used.
void use_records_in(const std::filesystem::path& directory);

/// The least that this process may give a test; each call of empty_folder() puts it back.
std::chrono::milliseconds& least_test_time();

/// The folder of this process, with a copy of `executable` as the tool; it also holds this
/// process's records. After each call it only contains the tool and an empty store.
const ToolFolder& empty_folder(const char* executable);

// What the tool writes, under an application identifier given as text; synchronized.
void write_number(const std::string& application, const char* key, double value);
void write_string(const std::string& application, const char* key, const char* value);
void write_boolean(const std::string& application, const char* key, bool value);

/// The version and the three identification strings: all that a match needs.
void write_identity(const std::string& application, const char* vendor, const char* version,
                    const char* renderer);

}  // namespace texprobe::tests

#endif
