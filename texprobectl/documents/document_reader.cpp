#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <ios>
#include <iostream>

#include "documents/document.h"
#include "records/software.h"

namespace texprobe::ctl {

namespace {

Verdict read_verdict(const Json& format, const char* name, const Expect& expect) {
    return static_cast<Verdict>(expect.known(
        format, name, [](const auto& text) { return find_name(kVerdictNames, text); },
        "\"{1}\" is {0}; expected yes, no, unmeasured, not_applicable, crashed or hung"));
}

Detail read_detail(const Json& value, const Expect& expect) {
    Detail detail;
    detail.cell = {
        expect.known(value, "name", format_named, "{0} is none of the sixteen formats"),
        expect.known(value, "capability", capability_named, "{0} is none of the six capabilities")};
    if (value.contains("signal")) {
        detail.cause = Crashed{expect.text(value, "signal")};
    } else if (value.contains("exit_status")) {
        detail.cause = Exited{expect.integer(value, "exit_status", 0, 255)};
    } else if (value.contains("of_test")) {
        if (!expect.boolean(value, "of_test")) {
            expect.fail(expect.member(value, "of_test"), "\"of_test\" must be true");
        }
        detail.cause = Seen{Seen::Whose::kTest};
    } else {
        detail.cause = Hung{expect.integer(value, "seconds", 0, INT32_MAX)};
    }
    return detail;
}

std::optional<double> read_version(const Json& set, const Expect& expect) {
    const Json& value = expect.member(set, "version");
    if (value.is_null()) return std::nullopt;
    if (!value.is_number()) expect.fail(value, "\"version\" must be a number or null");
    return value.get<double>();
}

/// None for a number that is not whole, or too large.
std::optional<std::int64_t> number_in(const Json& value) {
    const bool isWhole = value.is_number_integer() &&
                         !(value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX);
    return isWhole ? std::optional(value.get<std::int64_t>()) : std::nullopt;
}

/// The path of the value that is `wanted` itself, if it is in this one.
std::string find_path(const Json& wanted, const Json& value, const std::string& path) {
    if (&wanted == &value) return path;
    if (!value.is_structured()) return {};
    for (const auto& [name, inner] : value.items()) {
        const std::string inside =
            value.is_array() ? fmt::format("{}[{}]", path, name) : fmt::format("{}.{}", path, name);
        std::string found = find_path(wanted, inner, inside);
        if (!found.empty()) return found;
    }
    return {};
}

/// Reads the document's own members, and makes sure that its elements are a list.
class Header {
public:
    Header(const std::vector<DocumentKind>& kinds, const std::string& file)
        : kinds_(kinds), file_(file) {}

    void take(const std::string& name, const Json& value) {
        if (name == "schema") take_schema(value);
        if (name == "schema_version") take_version(value);
        const bool isElements =
            std::any_of(kinds_.begin(), kinds_.end(),
                        [&](const DocumentKind& kind) { return name == kind.elements; });
        if (!isElements || name != kind(name).elements) return;
        if (!value.is_array()) fail(name + ": \"" + name + "\" must be an array");
        hasElements_ = true;
    }

    /// The kind of document. Its elements cannot be understood before it is known.
    const DocumentKind& kind(const std::string& path) const {
        if (!kind_ || !hasVersion_) {
            fail(path +
                 ": \"schema\" and \"schema_version\" must come first: this is no document of "
                 "texprobectl");
        }
        return *kind_;
    }

    void check_whole() const {
        const char* missing = !kind_          ? "schema"
                              : !hasVersion_  ? "schema_version"
                              : !hasElements_ ? kind_->elements
                                              : nullptr;
        if (missing) fail(fmt::format("no document of texprobectl: \"{}\" is missing", missing));
    }

private:
    [[noreturn]] void fail(const std::string& message) const {
        throw DocumentError(file_ + ": " + message);
    }

    void take_schema(const Json& value) {
        std::string expected;
        for (const DocumentKind& kind : kinds_) {
            if (value == kind.schema) kind_ = &kind;
            expected += (expected.empty() ? "\"" : " or \"") + std::string(kind.schema) + '"';
        }
        if (!kind_) fail("schema: \"schema\" must be " + expected);
    }

    void take_version(const Json& value) {
        const auto number = number_in(value);
        if (!number || *number < 1) fail("schema_version: \"schema_version\" must be a number");
        if (*number > kSchemaVersion) {
            fail(
                fmt::format("schema_version: \"schema_version\" is {}: this texprobectl reads "
                            "versions up to {}; use a newer one",
                            *number, kSchemaVersion));
        }
        hasVersion_ = true;
    }

    const std::vector<DocumentKind>& kinds_;
    const std::string& file_;
    const DocumentKind* kind_ = nullptr;
    bool hasVersion_ = false;
    bool hasElements_ = false;
};

std::size_t read_stream(std::istream& text, const std::string& file,
                        const std::vector<DocumentKind>& kinds) {
    Header header(kinds, file);
    std::size_t count = 0;
    try {
        read_json(text, file,
                  {[&](const std::string& name, const Json& value) { header.take(name, value); },
                   [&](const std::string& name, std::size_t index, const Json& element) {
                       const std::string path = fmt::format("{}[{}]", name, index);
                       const DocumentKind& kind = header.kind(path);
                       if (kind.more && name == kind.more) {
                           kind.readMore(element, Expect(file, path, element));
                       }
                       if (name != kind.elements) return;
                       ++count;
                       kind.read(element, Expect(file, path, element));
                   }});
        header.check_whole();
    } catch (const std::ios_base::failure& failure) {
        throw DocumentError(file + ": " + failure.code().message());
    }
    return count;
}

}  // namespace

void Expect::fail(const Json& value, const std::string& message) const {
    throw DocumentError(file_ + ": " + find_path(value, element_, path_) + ": " + message);
}

const Json& Expect::member(const Json& object, const char* name) const {
    if (!object.is_object()) fail(object, "expected an object");
    const auto found = object.find(name);
    if (found == object.end()) fail(object, fmt::format("\"{}\" is missing", name));
    return *found;
}

const std::string& Expect::text(const Json& object, const char* name) const {
    const Json& value = member(object, name);
    if (!value.is_string()) fail(value, fmt::format("\"{}\" must be a text", name));
    return value.get_ref<const std::string&>();
}

std::optional<std::string> Expect::text_or_null(const Json& object, const char* name) const {
    if (member(object, name).is_null()) return std::nullopt;
    return text(object, name);
}

bool Expect::boolean(const Json& object, const char* name) const {
    const Json& value = member(object, name);
    if (!value.is_boolean()) fail(value, fmt::format("\"{}\" must be true or false", name));
    return value.get<bool>();
}

std::int64_t Expect::whole_number(const Json& object, const char* name, std::int64_t least,
                                  std::int64_t most) const {
    const Json& value = member(object, name);
    const auto number = number_in(value);
    if (!number || *number < least || *number > most) {
        fail(value, fmt::format("\"{}\" must be a whole number from {} to {}", name, least, most));
    }
    return *number;
}

void Expect::refuse(const Json& object, const char* name, const char* complaint) const {
    fail(member(object, name),
         fmt::format(fmt::runtime(complaint), in_quotes(text(object, name)), name));
}

const Json& Expect::array(const Json& object, const char* name) const {
    const Json& value = member(object, name);
    if (!value.is_array()) fail(value, fmt::format("\"{}\" must be an array", name));
    return value;
}

const Json& Expect::formats(const Json& object) const {
    const Json& formats = array(object, "formats");
    if (formats.size() != kFormatCount) {
        fail(formats, fmt::format("\"formats\" has {} elements; expected sixteen", formats.size()));
    }
    for (std::size_t i = 0; i < kFormatCount; ++i) {
        if (text(formats[i], "name") == kFormats[i].name) continue;
        fail(member(formats[i], "name"),
             fmt::format("expected \"{}\": the formats are in the tool's order", kFormats[i].name));
    }
    return formats;
}

bool read_software(const Json& value, const std::optional<std::string>& renderer,
                   const Expect& expect) {
    if (value.contains("software")) return expect.boolean(value, "software");
    return software_named_in(renderer.value_or("")).has_value();
}

RecordSet read_set(const Json& value, const Expect& expect) {
    RecordSet set;
    set.id = expect.text(value, "id");
    const SetIdentity identity =
        expect.known(value, "id", parse_id, "{0} is no record set's identifier");
    set.rendererID = expect.text(value, "renderer_id");
    set.systemBuild = expect.text(value, "system_build");
    if (set.rendererID != identity.rendererID || set.systemBuild != identity.systemBuild) {
        expect.fail(value, "\"renderer_id\" and \"system_build\" must be those of \"id\"");
    }
    set.version = read_version(value, expect);
    set.isPresent = expect.boolean(value, "present");
    set.isComplete = expect.boolean(value, "complete");
    set.vendor = expect.text_or_null(value, "vendor");
    set.glVersion = expect.text_or_null(value, "gl_version");
    set.renderer = expect.text_or_null(value, "renderer");
    if (value.contains("measured")) set.measured = expect.text_or_null(value, "measured");
    set.isSoftware = read_software(value, set.renderer, expect);
    const Json& formats = expect.formats(value);
    for_each_cell([&](const Cell& cell) {
        set.verdicts[cell.format][cell.capability] =
            read_verdict(formats[cell.format], kCapabilities[cell.capability].member, expect);
    });
    for (const Json& detail : expect.array(value, "details")) {
        set.details.push_back(read_detail(detail, expect));
    }
    set.survey = read_survey(value, expect);
    return set;
}

std::size_t read_document(const std::string& file, const std::vector<DocumentKind>& kinds) {
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
    const std::vector<DocumentKind> kinds = {
        {kRecordsSchema, "record_sets", [&](const Json& value, const Expect& expect) {
             sets.push_back(read_set(value, expect));
         }}};
    for (const std::string& file : files) read_document(file, kinds);
    return sets;
}

}  // namespace texprobe::ctl
