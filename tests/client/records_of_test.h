// Records for tests that run the class in their own process: each test has its own store, in the
// folder of the tool that it starts.

#ifndef TEXPROBE_TESTS_RECORDS_OF_TEST_H
#define TEXPROBE_TESTS_RECORDS_OF_TEST_H

#include <chrono>
#include <filesystem>
#include <string>

#include "support/tool_folder.h"

namespace texprobe::tests {

// The identifiers of the scripted machine's renderers.
constexpr char kFirst[] = "org.texprobe.texprobe2.ff.22G120";
constexpr char kSecond[] = "org.texprobe.texprobe2.1021a00.22G120";

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
void write_identity(const std::string& application, const char* vendor = "Vendor",
                    const char* version = "2.1 Version", const char* renderer = "Renderer");

/// The lines of a script by which the tool records a complete set with these strings: every verdict
/// is yes, but for what the lines `except` say.
std::string complete_set(const std::string& except = "", const std::string& application = kFirst,
                         const std::string& renderer = "Renderer");

}  // namespace texprobe::tests

#endif
