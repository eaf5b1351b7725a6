// A record's value in a row of the database: its type's name and SQLite's value.

#ifndef TEXPROBE_PLATFORM_STORED_VALUE_H
#define TEXPROBE_PLATFORM_STORED_VALUE_H

#include <sqlite3.h>

#include <optional>
#include <string_view>

#include "value.h"

namespace texprobe::platform {

// Each returns SQLite's result code.
int bind_value(sqlite3_stmt* statement, int index, std::string_view text);
int bind_value(sqlite3_stmt* statement, int index, const Value& value);

std::string_view type_of(const Value& value);

std::string_view bytes_of(sqlite3_stmt* statement, int column);

/// Can this be stored as a string? Only ASCII without a NUL, and not too long.
bool is_string(std::string_view text);

/// The record in the columns type and value, if they form a valid one.
std::optional<Value> value_of(sqlite3_stmt* statement, int typeColumn, int column);

}  // namespace texprobe::platform

#endif
