#include "stored_value.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <string>

namespace texprobe::platform {

namespace {

int bind_double(sqlite3_stmt* statement, int index, double value) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const bool isMinusZero = value == 0 && bits != 0;
    if (!std::isnan(value) && !isMinusZero) return sqlite3_bind_double(statement, index, value);
    std::array<unsigned char, sizeof bits> bytes;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<unsigned char>(bits >> (56 - 8 * i));
    }
    return sqlite3_bind_blob(statement, index, bytes.data(), bytes.size(), SQLITE_TRANSIENT);
}

double double_of(std::string_view bytes) {
    std::uint64_t bits = 0;
    for (const char byte : bytes) bits = bits << 8 | static_cast<unsigned char>(byte);
    return std::bit_cast<double>(bits);
}

}  // namespace

int bind_value(sqlite3_stmt* statement, int index, std::string_view text) {
    return sqlite3_bind_text64(statement, index, text.data(), text.size(), SQLITE_TRANSIENT,
                               SQLITE_UTF8);
}

int bind_value(sqlite3_stmt* statement, int index, const Value& value) {
    if (const auto* boolean = std::get_if<bool>(&value)) {
        return sqlite3_bind_int(statement, index, *boolean ? 1 : 0);
    }
    if (const auto* number = std::get_if<double>(&value))
        return bind_double(statement, index, *number);
    return bind_value(statement, index, std::string_view(std::get<std::string>(value)));
}

std::string_view type_of(const Value& value) {
    constexpr std::string_view kTypes[] = {"boolean", "double", "string"};
    return kTypes[value.index()];
}

std::string_view bytes_of(sqlite3_stmt* statement, int column) {
    const void* bytes = sqlite3_column_blob(statement, column);
    const int size = sqlite3_column_bytes(statement, column);
    return bytes ? std::string_view(static_cast<const char*>(bytes), static_cast<std::size_t>(size))
                 : std::string_view();
}

bool is_string(std::string_view text) {
    if (text.size() > kLongestString) return false;
    // To the end, so that many bytes are looked at in one step: nearly all texts are strings.
    unsigned char notASCII = 0;
    unsigned char zeros = 0;
    for (const char c : text) {
        notASCII |= static_cast<unsigned char>(c);
        zeros |= static_cast<unsigned char>(c == 0);
    }
    return notASCII < 0x80 && zeros == 0;
}

std::optional<Value> value_of(sqlite3_stmt* statement, int typeColumn, int column) {
    const std::string_view type = bytes_of(statement, typeColumn);
    const int storedAs = sqlite3_column_type(statement, column);
    if (type == "boolean" && storedAs == SQLITE_INTEGER) {
        const sqlite3_int64 number = sqlite3_column_int64(statement, column);
        if (number == 0 || number == 1) return number == 1;
    } else if (type == "double" && storedAs == SQLITE_FLOAT) {
        return sqlite3_column_double(statement, column);
    } else if (type == "double" && storedAs == SQLITE_BLOB) {
        const std::string_view bytes = bytes_of(statement, column);
        if (bytes.size() == sizeof(double)) return double_of(bytes);
    } else if (type == "string" && storedAs == SQLITE_TEXT) {
        const std::string_view text = bytes_of(statement, column);
        if (is_string(text)) return std::string(text);
    }
    return std::nullopt;
}

}  // namespace texprobe::platform
