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

Verdict read_verdict(const Element& format, const char* name) {
    return static_cast<Verdict>(format.known(
        name, [](const auto& text) { return find_name(kVerdictNames, text); },
        "\"{1}\" is {0}; expected yes, no, unmeasured, not_applicable, crashed or hung"));
}

Detail read_detail(const Element& value) {
    Detail detail;
    detail.cell = read_cell(value);
    if (value.contains("signal")) {
        detail.cause = Crashed{value.text("signal")};
    } else if (value.contains("exit_status")) {
        detail.cause = Exited{value.integer("exit_status", 0, 255)};
    } else if (value.contains("of_test")) {
        if (!value.boolean("of_test")) {
            value.member("of_test").fail("\"of_test\" must be true");
        }
        detail.cause = Seen{Seen::Whose::kTest};
    } else {
        detail.cause = Hung{value.integer("seconds", 0, INT32_MAX)};
    }
    return detail;
}

std::optional<double> read_version(const Element& set) {
    const Element value = set.member("version");
    if (value.json().is_null()) return std::nullopt;
    if (!value.json().is_number()) value.fail("\"version\" must be a number or null");
    return value.json().get<double>();
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
                       const ReadElement read{file, fmt::format("{}[{}]", name, index), element};
                       const DocumentKind& kind = header.kind(read.path);
                       if (kind.more && name == kind.more) {
                           kind.readMore(Element(read));
                       }
                       if (name != kind.elements) return;
                       ++count;
                       kind.read(Element(read));
                   }});
        header.check_whole();
    } catch (const std::ios_base::failure& failure) {
        throw DocumentError(file + ": " + failure.code().message());
    }
    return count;
}

}  // namespace

void Element::fail(const std::string& message) const {
    throw DocumentError(fmt::format("{}: {}: {}", root_->file,
                                    find_path(*value_, root_->value, root_->path), message));
}

void Element::refuse(const char* name, const char* complaint) const {
    member(name).fail(fmt::format(fmt::runtime(complaint), in_quotes(text(name)), name));
}

Element Element::member(const char* name) const {
    if (!value_->is_object()) fail("expected an object");
    const auto found = value_->find(name);
    if (found == value_->end()) fail(fmt::format("\"{}\" is missing", name));
    return {*root_, *found};
}

const std::string& Element::text(const char* name) const {
    const Element value = member(name);
    if (!value.json().is_string()) value.fail(fmt::format("\"{}\" must be a text", name));
    return value.json().get_ref<const std::string&>();
}

std::optional<std::string> Element::text_or_null(const char* name) const {
    if (member(name).json().is_null()) return std::nullopt;
    return text(name);
}

bool Element::boolean(const char* name) const {
    const Element value = member(name);
    if (!value.json().is_boolean()) value.fail(fmt::format("\"{}\" must be true or false", name));
    return value.json().get<bool>();
}

std::int64_t Element::whole_number(const char* name, std::int64_t least, std::int64_t most) const {
    const Element value = member(name);
    const auto number = number_in(value.json());
    if (!number || *number < least || *number > most) {
        value.fail(fmt::format("\"{}\" must be a whole number from {} to {}", name, least, most));
    }
    return *number;
}

std::vector<Element> Element::list(const char* name) const {
    const Element value = member(name);
    if (!value.json().is_array()) value.fail(fmt::format("\"{}\" must be an array", name));
    std::vector<Element> elements;
    for (const Json& each : value.json()) elements.push_back({*root_, each});
    return elements;
}

std::vector<Element> Element::formats() const {
    std::vector<Element> formats = list("formats");
    if (formats.size() != kFormatCount) {
        member("formats").fail(
            fmt::format("\"formats\" has {} elements; expected sixteen", formats.size()));
    }
    for (std::size_t i = 0; i < kFormatCount; ++i) {
        if (formats[i].text("name") == kFormats[i].name) continue;
        formats[i].member("name").fail(
            fmt::format("expected \"{}\": the formats are in the tool's order", kFormats[i].name));
    }
    return formats;
}

bool read_software(const Element& value, const std::optional<std::string>& renderer) {
    if (value.contains("software")) return value.boolean("software");
    return software_named_in(renderer.value_or("")).has_value();
}

Cell read_cell(const Element& object) {
    return {object.known("name", format_named, "{0} is none of the sixteen formats"),
            object.known("capability", capability_named, "{0} is none of the six capabilities")};
}

RecordSet read_set(const Element& value) {
    RecordSet set;
    set.id = value.text("id");
    const SetIdentity identity = value.known("id", parse_id, "{0} is no record set's identifier");
    set.rendererID = value.text("renderer_id");
    set.systemBuild = value.text("system_build");
    if (set.rendererID != identity.rendererID || set.systemBuild != identity.systemBuild) {
        value.fail("\"renderer_id\" and \"system_build\" must be those of \"id\"");
    }
    set.version = read_version(value);
    set.isPresent = value.boolean("present");
    set.isComplete = value.boolean("complete");
    set.vendor = value.text_or_null("vendor");
    set.glVersion = value.text_or_null("gl_version");
    set.renderer = value.text_or_null("renderer");
    if (value.contains("measured")) set.measured = value.text_or_null("measured");
    set.isSoftware = read_software(value, set.renderer);
    const std::vector<Element> formats = value.formats();
    for_each_cell([&](const Cell& cell) {
        set.verdicts[cell.format][cell.capability] =
            read_verdict(formats[cell.format], kCapabilities[cell.capability].member);
    });
    for (const Element& each : value.list("details")) {
        const Detail detail = read_detail(each);
        const bool isNewNo = set.verdict(detail.cell) == Verdict::kNo && !set.detail(detail.cell);
        if (detail.is_of_test() && !isNewNo) {
            each.fail("\"of_test\" must be of a no, once for each");
        }
        set.details.push_back(detail);
    }
    set.survey = read_survey(value);
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
        {kRecordsSchema, "record_sets",
         [&](const Element& value) { sets.push_back(read_set(value)); }}};
    for (const std::string& file : files) read_document(file, kinds);
    return sets;
}

}  // namespace texprobe::ctl
