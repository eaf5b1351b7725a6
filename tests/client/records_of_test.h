// Records for tests that run the class in their own process: each test has a store of its own, in
// the folder of the tool that it starts.

#ifndef TEXPROBE_TESTS_RECORDS_OF_TEST_H
#define TEXPROBE_TESTS_RECORDS_OF_TEST_H

#include <filesystem>
#include <string>

#include "support/tool_folder.h"

namespace texprobe::tests {

/// Where this process's records are. Must be called before any record is touched.
void use_records_in(const std::filesystem::path& directory);

/// The folder of this process, whose tool is a copy of `executable` and whose records are those of
/// this process. Nothing but the tool and an empty store is in it after each call.
const ToolFolder& empty_folder(const char* executable);

// What the tool writes, under an application identifier given as text; synchronized.
void write_number(const std::string& application, const char* key, double value);
void write_string(const std::string& application, const char* key, const char* value);
void write_boolean(const std::string& application, const char* key, bool value);

/// The version and the three identification strings: all that a match asks for.
void write_identity(const std::string& application, const char* vendor, const char* version,
                    const char* renderer);

}  // namespace texprobe::tests

#endif
