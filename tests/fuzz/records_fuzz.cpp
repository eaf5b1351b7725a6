// What a store makes of records and whole files that another program has written. If the first byte
// is even, records follow, which are put into a valid database; if it is odd, the file itself.

#include <RecordStore/record_store.h>
#include <sqlite3.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "doubles/watched_disk.h"
#include "support/same_value.h"
#include "support/scratch_folder.h"

namespace {

namespace fs = std::filesystem;
using texprobe::platform::RecordStore;
using texprobe::platform::Value;
using texprobe::tests::DiskEvent;
using texprobe::tests::same;
using texprobe::tests::ScratchFolder;
using texprobe::tests::WatchedDisk;

constexpr const char* kApp = "org.example.app";

void must(bool condition) {
    if (!condition) std::abort();
}

/// Takes the input apart, byte by byte; zeros after its end.
class Input {
public:
    explicit Input(std::string_view bytes) : rest_(bytes) {}

    bool is_over() const { return rest_.empty(); }

    std::uint8_t byte() {
        if (rest_.empty()) return 0;
        const auto first = static_cast<std::uint8_t>(rest_.front());
        rest_.remove_prefix(1);
        return first;
    }

    std::string_view text(std::size_t size) {
        const std::string_view taken = rest_.substr(0, size);
        rest_.remove_prefix(taken.size());
        return taken;
    }

    template <class Type>
    Type number() {
        Type value{};
        const std::string_view taken = text(sizeof value);
        std::memcpy(&value, taken.data(), taken.size());
        return value;
    }

private:
    std::string_view rest_;
};

bool is_plain(std::string_view text) {
    for (const char c : text) {
        if (c < 1) return false;
    }
    return true;
}

/// Binds one value of any type. Returns its value as a record of that type, by the rules in the
/// store's documentation and without its code.
std::optional<Value> bind_value(sqlite3_stmt* statement, std::string_view type, Input& input) {
    switch (input.byte() % 4) {
        case 0: {
            const auto number = input.number<std::int8_t>();
            sqlite3_bind_int(statement, 4, number);
            if (type == "boolean" && (number == 0 || number == 1)) return number == 1;
            return std::nullopt;
        }
        case 1: {
            const auto number = input.number<double>();
            sqlite3_bind_double(statement, 4, number);
            // SQLite turns a NaN into NULL, which the table refuses.
            if (type == "double" && number == number) return number;
            return std::nullopt;
        }
        case 2: {
            const std::string_view text = input.text(input.byte());
            sqlite3_bind_text(statement, 4, text.data() ? text.data() : "",
                              static_cast<int>(text.size()), SQLITE_TRANSIENT);
            if (type == "string" && is_plain(text)) return std::string(text);
            return std::nullopt;
        }
        default: {
            const std::string_view bytes = input.text(input.byte() % 12);
            sqlite3_bind_blob(statement, 4, bytes.data() ? bytes.data() : "",
                              static_cast<int>(bytes.size()), SQLITE_TRANSIENT);
            if (type != "double" || bytes.size() != 8) return std::nullopt;
            std::uint64_t bits = 0;
            for (const char byte : bytes) bits = 256 * bits + static_cast<std::uint8_t>(byte);
            double number = 0;
            std::memcpy(&number, &bits, sizeof number);
            return number;
        }
    }
}

std::map<std::string, std::optional<Value>> insert_records(const fs::path& database, Input input) {
    constexpr std::string_view kTypes[] = {"boolean", "double", "string", "date", ""};
    sqlite3* opened = nullptr;
    must(sqlite3_open(database.c_str(), &opened) == SQLITE_OK);
    sqlite3_stmt* statement = nullptr;
    must(sqlite3_prepare_v2(opened, "REPLACE INTO records VALUES (?1, ?2, ?3, ?4)", -1, &statement,
                            nullptr) == SQLITE_OK);
    std::map<std::string, std::optional<Value>> expected;
    while (!input.is_over()) {
        const std::string_view key = input.text(input.byte() % 16);
        const std::string_view type = kTypes[input.byte() % std::size(kTypes)];
        sqlite3_bind_text(statement, 1, kApp, -1, SQLITE_STATIC);
        sqlite3_bind_text(statement, 2, key.data() ? key.data() : "", static_cast<int>(key.size()),
                          SQLITE_TRANSIENT);
        sqlite3_bind_text(statement, 3, type.data(), static_cast<int>(type.size()),
                          SQLITE_TRANSIENT);
        const std::optional<Value> value = bind_value(statement, type, input);
        const bool isIn = sqlite3_step(statement) == SQLITE_DONE;
        sqlite3_reset(statement);
        if (isIn && is_plain(key)) expected[std::string(key)] = value;
    }
    sqlite3_finalize(statement);
    sqlite3_close(opened);
    return expected;
}

void expect_usable(const fs::path& directory) {
    {
        RecordStore store(directory);
        store.value(kApp, "VERSION");
        store.change(kApp, {{"new", true}});
        must(store.synchronize(kApp));
    }
    const auto seen = RecordStore(directory).value(kApp, "new");
    must(seen && same(*seen, true));
}

void read_records(const fs::path& directory, const Input& input) {
    expect_usable(directory);
    const auto expected = insert_records(directory / "records.sqlite3", input);
    {
        RecordStore store(directory);
        for (const auto& [key, value] : expected) {
            const auto seen = store.value(kApp, key);
            must(seen.has_value() == value.has_value() && (!seen || same(*seen, *value)));
        }
    }
    expect_usable(directory);
    must(!fs::exists(directory / "records.sqlite3.damaged"));
}

void read_file(const fs::path& directory, std::string_view bytes) {
    fs::create_directory(directory);
    std::ofstream(directory / "records.sqlite3", std::ios::binary) << bytes;
    expect_usable(directory);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const WatchedDisk quick([](const DiskEvent&) { return SQLITE_OK; });
    if (size == 0) return 0;
    const ScratchFolder folder;
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    if (data[0] % 2 == 0) {
        read_records(folder.path() / "records", Input(bytes.substr(1)));
    } else {
        read_file(folder.path() / "records", bytes.substr(1));
    }
    return 0;
}
