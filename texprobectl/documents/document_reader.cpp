#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <ios>
#include <iostream>

#include "documents/document.h"

namespace texprobe::ctl {

namespace {

Verdict read_verdict(const JsonValue& format, const char* name, const Expect& expect) {
    const std::string& text = expect.text(format, name);
    for (std::size_t i = 0; i < kVerdictCount; ++i) {
        if (text == kVerdictNames[i]) return static_cast<Verdict>(i);
    }
    expect.fail(
        expect.member(format, name),
        fmt::format("\"{}\" is {}; expected yes, no, unmeasured, not_applicable, crashed or "
                    "hung",
                    name, in_quotes(text)));
}

std::size_t read_format_name(const JsonValue& value, const Expect& expect) {
    const std::string& name = expect.text(value, "name");
    for (std::size_t i = 0; i < kFormatCount; ++i) {
        if (name == kFormats[i].name) return i;
    }
    expect.fail(expect.member(value, "name"), in_quotes(name) + " is none of the sixteen formats");
}

Detail read_detail(const JsonValue& value, const Expect& expect) {
    Detail detail;
    detail.cell.format = read_format_name(value, expect);
    const std::string& capability = expect.text(value, "capability");
    const auto found = std::find_if(kCapabilities.begin(), kCapabilities.end(),
                                    [&](const auto& names) { return capability == names.member; });
    if (found == kCapabilities.end()) {
        expect.fail(expect.member(value, "capability"),
                    in_quotes(capability) + " is none of the six capabilities");
    }
    detail.cell.capability = static_cast<Capability>(found - kCapabilities.begin());
    if (value.member("signal")) {
        detail.cause = Crashed{expect.text(value, "signal")};
    } else if (value.member("exit_status")) {
        detail.cause = Exited{static_cast<int>(expect.integer(value, "exit_status", 0, 255))};
    } else {
        detail.cause = Hung{static_cast<int>(expect.integer(value, "seconds", 0, INT32_MAX))};
    }
    return detail;
}

std::optional<double> read_version(const JsonValue& set, const Expect& expect) {
    const JsonValue& value = expect.member(set, "version");
    if (value.is_null()) return std::nullopt;
    if (const auto* integer = value.as<std::int64_t>()) return static_cast<double>(*integer);
    const auto* number = value.as<double>();
    if (!number) expect.fail(value, "\"version\" must be a number or null");
    return *number;
}

/// Reads the document's own members, and makes sure that its elements are a list.
class Header {
public:
    Header(const std::vector<Kind>& kinds, const Expect& expect) : kinds_(kinds), expect_(expect) {}

    void take(const std::string& name, const JsonValue& value) {
        if (name == "schema") take_schema(value);
        if (name == "schema_version") take_version(value);
        const bool isElements = std::any_of(
            kinds_.begin(), kinds_.end(), [&](const Kind& kind) { return name == kind.elements; });
        if (!isElements || name != kind(value).elements) return;
        if (!value.as<JsonValue::Array>()) {
            expect_.fail(value, fmt::format("\"{}\" must be an array", name));
        }
        hasElements_ = true;
    }

    /// The kind of document. Its elements cannot be understood before it is known.
    const Kind& kind(const JsonValue& where) const {
        if (!kind_ || !hasVersion_) {
            expect_.fail(where,
                         "\"schema\" and \"schema_version\" must come first: this is no document "
                         "of texprobectl");
        }
        return *kind_;
    }

    void check_whole(const Position& begin) const {
        const char* missing = !kind_          ? "schema"
                              : !hasVersion_  ? "schema_version"
                              : !hasElements_ ? kind_->elements
                                              : nullptr;
        if (!missing) return;
        ctl::fail(expect_.file(), begin,
                  fmt::format("no document of texprobectl: \"{}\" is missing", missing));
    }

private:
    void take_schema(const JsonValue& value) {
        const auto* text = value.as<std::string>();
        for (const Kind& kind : kinds_) {
            if (text && *text == kind.schema) kind_ = &kind;
        }
        if (kind_) return;
        std::string expected;
        for (const Kind& kind : kinds_) {
            expected += (expected.empty() ? "\"" : " or \"") + std::string(kind.schema) + '"';
        }
        expect_.fail(value, "\"schema\" must be " + expected);
    }

    void take_version(const JsonValue& value) {
        const auto* number = value.as<std::int64_t>();
        if (!number || *number < 1) expect_.fail(value, "\"schema_version\" must be a number");
        if (*number != kSchemaVersion) {
            expect_.fail(value, "\"schema_version\" is " + std::to_string(*number) +
                                    ": this texprobectl reads version " +
                                    std::to_string(kSchemaVersion) + "; use a newer one");
        }
        hasVersion_ = true;
    }

    const std::vector<Kind>& kinds_;
    const Expect& expect_;
    const Kind* kind_ = nullptr;
    bool hasVersion_ = false;
    bool hasElements_ = false;
};

std::size_t read_stream(std::istream& text, const std::string& file,
                        const std::vector<Kind>& kinds) {
    const Expect expect(file);
    Header header(kinds, expect);
    std::size_t count = 0;
    try {
        header.check_whole(read_json(
            text, file,
            {[&](const std::string& name, const JsonValue& value) { header.take(name, value); },
             [&](const std::string& name, const JsonValue& element) {
                 const Kind& kind = header.kind(element);
                 if (name != kind.elements) return;
                 ++count;
                 kind.read(element, expect);
             }}));
    } catch (const std::ios_base::failure& failure) {
        throw DocumentError(file + ": " + failure.code().message());
    }
    return count;
}

}  // namespace

void Expect::fail(const JsonValue& value, const std::string& message) const {
    ctl::fail(file_, value.position, message);
}

const JsonValue& Expect::member(const JsonValue& object, const char* name) const {
    if (!object.as<JsonValue::Object>()) fail(object, "expected an object");
    const JsonValue* value = object.member(name);
    if (!value) fail(object, fmt::format("\"{}\" is missing", name));
    return *value;
}

const std::string& Expect::text(const JsonValue& object, const char* name) const {
    const JsonValue& value = member(object, name);
    const auto* text = value.as<std::string>();
    if (!text) fail(value, fmt::format("\"{}\" must be a text", name));
    return *text;
}

std::optional<std::string> Expect::text_or_null(const JsonValue& object, const char* name) const {
    if (member(object, name).is_null()) return std::nullopt;
    return text(object, name);
}

bool Expect::boolean(const JsonValue& object, const char* name) const {
    const JsonValue& value = member(object, name);
    const auto* boolean = value.as<bool>();
    if (!boolean) fail(value, fmt::format("\"{}\" must be true or false", name));
    return *boolean;
}

std::int64_t Expect::integer(const JsonValue& object, const char* name, std::int64_t least,
                             std::int64_t most) const {
    const JsonValue& value = member(object, name);
    const auto* integer = value.as<std::int64_t>();
    if (!integer || *integer < least || *integer > most) {
        fail(value, fmt::format("\"{}\" must be a whole number from {} to {}", name, least, most));
    }
    return *integer;
}

const JsonValue::Array& Expect::array(const JsonValue& object, const char* name) const {
    const JsonValue& value = member(object, name);
    const auto* array = value.as<JsonValue::Array>();
    if (!array) fail(value, fmt::format("\"{}\" must be an array", name));
    return *array;
}

const JsonValue::Array& Expect::formats(const JsonValue& object) const {
    const JsonValue::Array& formats = array(object, "formats");
    if (formats.size() != kFormatCount) {
        fail(member(object, "formats"),
             "\"formats\" has " + std::to_string(formats.size()) + " elements; expected sixteen");
    }
    for (std::size_t i = 0; i < kFormatCount; ++i) {
        if (text(formats[i], "name") != kFormats[i].name) {
            fail(member(formats[i], "name"), "expected " + in_quotes(kFormats[i].name) +
                                                 ": the formats are in the tool's order");
        }
    }
    return formats;
}

RecordSet read_set(const JsonValue& value, const Expect& expect) {
    RecordSet set;
    set.id = expect.text(value, "id");
    const auto identity = parse_id(set.id);
    if (!identity) {
        expect.fail(expect.member(value, "id"),
                    in_quotes(set.id) + " is no record set's identifier");
    }
    set.rendererID = expect.text(value, "renderer_id");
    set.systemBuild = expect.text(value, "system_build");
    if (set.rendererID != identity->rendererID || set.systemBuild != identity->systemBuild) {
        expect.fail(value, "\"renderer_id\" and \"system_build\" must be those of \"id\"");
    }
    set.version = read_version(value, expect);
    set.isPresent = expect.boolean(value, "present");
    set.isComplete = expect.boolean(value, "complete");
    set.vendor = expect.text_or_null(value, "vendor");
    set.glVersion = expect.text_or_null(value, "gl_version");
    set.renderer = expect.text_or_null(value, "renderer");
    const JsonValue::Array& formats = expect.formats(value);
    for_each_cell([&](const Cell& cell) {
        set.verdicts[cell.format][cell.capability] =
            read_verdict(formats[cell.format], kCapabilities[cell.capability].member, expect);
    });
    for (const JsonValue& detail : expect.array(value, "details")) {
        set.details.push_back(read_detail(detail, expect));
    }
    return set;
}

std::size_t read_document(const std::string& file, const std::vector<Kind>& kinds) {
    if (file == "-") return read_stream(std::cin, "standard input", kinds);
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw DocumentError(file + ": " + std::strerror(errno));
    std::error_code ignored;
    if (std::filesystem::is_directory(file, ignored)) {
        throw DocumentError(file + ": a folder, and not a document");
    }
    return read_stream(stream, file, kinds);
}

RecordSets read_documents(const std::vector<std::string>& files) {
    RecordSets sets;
    const std::vector<Kind> kinds = {
        {kRecordsSchema, "record_sets", [&](const JsonValue& value, const Expect& expect) {
             sets.push_back(read_set(value, expect));
         }}};
    for (const std::string& file : files) read_document(file, kinds);
    return sets;
}

}  // namespace texprobe::ctl
