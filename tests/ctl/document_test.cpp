// Documents: what is written is valid, what is read back is the same, and what is wrong with those
// of strangers is said with its place.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <random>

#include "ctl/ctl_folder.h"
#include "ctl/written_sets.h"
#include "documents/merge.h"

namespace texprobe::tests {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

const std::string kBegin = "{\"schema\": \"texprobe-records\", \"schema_version\": 1";
const std::string kEmpty = kBegin + ", \"record_sets\": []}";

TEST(Document, is_written_in_lines_that_people_and_diff_can_read) {
    EXPECT_THAT(full_document(), StartsWith(R"({
  "schema": "texprobe-records",
  "schema_version": 2,
  "record_sets": [
    {
      "id": "org.texprobe.texprobe2.abcd1234.build-9",
      "renderer_id": "abcd1234",
      "system_build": "build-9",
      "version": 0.21,
      "present": false,
      "complete": true,
      "vendor": "Mesa",
      "gl_version": "1.0",
      "renderer": "a renderer",
      "measured": "2026-11-21T19:56:43Z",
      "software": false,
      "formats": [
        {"name":"GL_RGB32F_ARB","internal_format":34837,"supported":"yes",)"));
    EXPECT_THAT(full_document(), AllOf(HasSubstr(R"(
        {"name":"GL_RGB8","internal_format":32849,"supported":"yes","renderable":"yes",)"
                                                 R"("upload_set":"no","upload_reset":"yes",)"
                                                 R"("download_get":"yes","download_read":"yes"},
)"),
                                       HasSubstr(R"(
      "details": [
        {"name":"GL_RGB8","capability":"upload_set","of_test":true},
        {"name":"GL_RGBA8","capability":"upload_set","signal":"SIGSEGV"},
        {"name":"GL_RGBA8","capability":"upload_reset","exit_status":3},
        {"name":"GL_RGBA8","capability":"download_get","seconds":60}
      ],
      "survey": {
        "version": 1,
        "profiles": [
          {
            "profile": "core",
            "gl_version": "4.6 \"core\"",
            "formats": [
              {"name":"GL_R8",)")));
    EXPECT_EQ(document_of({}),
              "{\n  \"schema\": \"texprobe-records\",\n  \"schema_version\": 2,\n"
              "  \"record_sets\": []\n}\n");
}

TEST(Document, read_back_is_the_same) {
    EXPECT_EQ(read_text(full_document()), (ctl::RecordSets{full_set(), working_set("ff")}));
}

TEST(Document, of_an_earlier_version_or_with_members_that_are_not_known_is_read) {
    for (const std::string& text :
         {changed("\"schema_version\": 2", "\"schema_version\": 1"),
          changed("\"record_sets\"", "\"note\": {\"a\": [1, 2]}, \"record_sets\"")}) {
        EXPECT_EQ(complaint(text), "none");
    }
}

TEST(Document, that_is_wrong_gets_its_place) {
    const std::string nul(1, '\0');
    const struct {
        std::string text;
        const char* complaint;
    } kCases[] = {
        {"{\n  \"schema\": \"something\"\n}\n",
         ": schema: \"schema\" must be \"texprobe-records\""},
        {"[]", ":1:1: expected an object"},
        {"\n {}", ": no document of texprobectl: \"schema\" is missing"},
        {kBegin + "}", ": no document of texprobectl: \"record_sets\" is missing"},
        {"{\"schema\": \"texprobe-records\",\n\"record_sets\": []}",
         ": record_sets: \"schema\" and \"schema_version\" must come first: this is no document of "
         "texprobectl"},
        {changed("\"schema_version\": 2", "\"schema_version\": \"two\""),
         ": schema_version: \"schema_version\" must be a number"},
        {changed("\"schema_version\": 2", "\"schema_version\": 3"),
         ": schema_version: \"schema_version\" is 3: this texprobectl reads versions up to 2; use "
         "a newer one"},
        {changed("\"texprobe-records\"", "\"texprobe-records\",\n \"schema\": \"x\""),
         ":3:9: \"schema\" is given twice"},
        {kEmpty + "\n" + nul + "{", ":2:1: not JSON: a NUL"},
        {changed("a renderer", "a\\u0000b"), ":14:28: a text with a NUL"},
        {"{\"a\\u0000b\": 1}", ":1:11: a text with a NUL"},
        // RGB8 is the seventh of the formats.
        {changed("\"upload_set\":\"no\"", "\"upload_set\":\"perhaps\""),
         ": record_sets[0].formats[6].upload_set: \"upload_set\" is \"perhaps\"; expected yes, no, "
         "unmeasured, not_applicable, crashed or hung"},
        {changed("GL_RGB8\"", "GL_RGB9\""),
         ": record_sets[0].formats[6].name: expected \"GL_RGB8\": the formats are in the tool's "
         "order"},
        {changed("\"complete\": true", "\"complete\": 1"),
         ": record_sets[0].complete: \"complete\" must be true or false"},
        {changed("      \"complete\": true,\n", ""), ": record_sets[0]: \"complete\" is missing"},
        {changed("\"renderer_id\": \"abcd1234\"", "\"renderer_id\": \"0\""),
         ": record_sets[0]: \"renderer_id\" and \"system_build\" must be those of \"id\""},
        {changed("org.texprobe.texprobe2.abcd1234.build-9", "org.example.other"),
         ": record_sets[0].id: \"org.example.other\" is no record set's identifier"},
        {changed("\"id\": \"org.texprobe.texprobe2.abcd1234.build-9\"",
                 "\"id\": \"org.texprobe.texprobe2.abcd1234.\""),
         ": record_sets[0].id: \"org.texprobe.texprobe2.abcd1234.\" is no record set's identifier"},
        {changed("GL_RGB8\",\"capability", "GL_RGB9\",\"capability"),
         ": record_sets[0].details[0].name: \"GL_RGB9\" is none of the sixteen formats"},
        {changed("\"capability\":\"upload_set\"", "\"capability\":\"upload\""),
         ": record_sets[0].details[0].capability: \"upload\" is none of the six capabilities"},
        {changed("\"of_test\":true", "\"of_test\":false"),
         ": record_sets[0].details[0].of_test: \"of_test\" must be true"},
        {changed("\"upload_set\":\"no\"", "\"upload_set\":\"yes\""),
         ": record_sets[0].details[0]: \"of_test\" must be of a no, once for each"},
        {changed("\"of_test\":true}",
                 "\"of_test\":true}, {\"name\":\"GL_RGB8\","
                 "\"capability\":\"upload_set\",\"of_test\":true}"),
         ": record_sets[0].details[1]: \"of_test\" must be of a no, once for each"},
        {changed("\"exit_status\":3", "\"exit_status\":256"),
         ": record_sets[0].details[2].exit_status: \"exit_status\" must be a whole number from 0 "
         "to 255"}};
    for (const auto& [text, expected] : kCases) EXPECT_EQ(complaint(text), expected);
    EXPECT_THAT(complaint("{\n\"schema\":\n nonsense}"), StartsWith(":3:"));
    for (const char* value : {"null", "{}", "{\"a\": [1]}", "true", "1", "\"[]\""}) {
        EXPECT_EQ(complaint(kBegin + ", \"record_sets\": " + value + "}"),
                  ": record_sets: \"record_sets\" must be an array");
    }
}

TEST(Document, cannot_take_the_memory_or_the_stack) {
    EXPECT_THAT(complaint("{\"schema\": \"" + std::string(1000000, 'x') + "\"}"),
                HasSubstr("a value of more than 65536 bytes"));
    EXPECT_THAT(complaint("{\"note\": " + std::string(100000, '[')),
                HasSubstr("nested too deeply"));
    std::string members = "{\"note\": {\"0\": 0";
    for (int i = 1; i < 2000; ++i) members += ", \"" + std::to_string(i) + "\": 0";
    EXPECT_THAT(complaint(members + "}}"), HasSubstr("too many members"));
    std::string numbers = kBegin + ", \"record_sets\": [[";
    for (int i = 0; i < 1000000; ++i) numbers += "1,";
    EXPECT_THAT(complaint(numbers + "1]]}"), HasSubstr("an element of more than 1048576 bytes"));
}

class DocumentFile : public testing::Test {
protected:
    std::string keep(const std::string& name, const std::string& text) const {
        write_file(folder_.file(name), text);
        return folder_.file(name);
    }

    CtlFolder folder_{CTL, SCRIPTED_TOOL};
};

TEST_F(DocumentFile, of_every_kind_is_valid_for_a_validator_that_is_not_ours) {
    const std::string full = keep("full.json", full_document());
    const std::string other = keep("other.json", document_of({working_set()}));
    std::string files = " '" + full + "'";
    const std::vector<std::string> commands[] = {
        {"list"}, {"show", full}, {"compare", full, other}, {"merge", full}, {"doctor"}};
    for (std::vector<std::string> command : commands) {
        command.emplace_back("--json");
        files += " '" + keep(command.front() + ".json", folder_.ctl(command).out) + "'";
    }
    const std::string validate = std::string(VALIDATOR) + " " + SCHEMA + files;
    const int status = run_in_shell(validate);
    if (status == 77) GTEST_SKIP() << "python3-jsonschema is not installed";
    EXPECT_EQ(status, 0);
    // The validator is awake.
    const std::string wrong = keep("wrong.json", changed("\"yes\"", "\"maybe\""));
    EXPECT_NE(run_in_shell(validate + " '" + wrong + "' >/dev/null"), 0);
}

TEST_F(DocumentFile, that_cannot_be_read_is_named) {
    EXPECT_EQ(folder_.ctl({"compare", "/tmp", "/tmp"}).err,
              "texprobectl: /tmp: a folder, and not a document\n");
    // Its first page is not there.
    EXPECT_EQ(folder_.ctl({"merge", "/proc/self/mem"}).err,
              "texprobectl: /proc/self/mem: Input/output error\n");
    EXPECT_EQ(folder_.ctl({"merge", "/no/such/file"}).err,
              "texprobectl: /no/such/file: No such file or directory\n");
    const std::string bad = keep("bad.json", "[]");
    const Finished run = folder_.ctl({"compare", bad, bad});
    EXPECT_TRUE(run.exited_with(2));
    EXPECT_EQ(run.err, "texprobectl: " + bad + ":1:1: expected an object\n");
}

TEST_F(DocumentFile, with_an_empty_list_is_named_by_who_reads_it) {
    const std::string full = keep("full.json", full_document());
    const std::string empty = keep("empty.json", kEmpty);
    const std::string line = "texprobectl: " + empty + " has no record set";
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string said;
    } kCases[] = {
        {{"compare", full, empty}, 2, line + " to compare\n"},
        {{"compare", empty, empty}, 2, line + " to compare\n"},
        {{"merge", full, empty}, 0, line + "\n"},
        {{"report", empty, full, "-o", folder_.file("page.html")}, 0, line + "\n"},
        {{"merge", empty}, 2, line + "\ntexprobectl: there is no record set to merge\n"},
        {{"merge", empty, "--json"}, 2, line + "\ntexprobectl: there is no record set to merge\n"},
        {{"report", empty, "-o", full},
         2,
         line + "\ntexprobectl: there is no record set to report on\n"}};
    for (const auto& [arguments, status, said] : kCases) {
        const Finished run = folder_.ctl(arguments);
        EXPECT_TRUE(run.exited_with(status)) << arguments.front();
        EXPECT_EQ(run.err, said);
        EXPECT_EQ(run.out.empty(), status == 2 || arguments.front() == "report");
    }
    EXPECT_EQ(read_file(full), full_document());
}

/// One change to a text at a random place: a byte, a cut, a repetition, an exchange.
std::string mutated(std::string text, std::mt19937& random) {
    const auto at = [&] { return random() % text.size(); };
    switch (random() % 5) {
        case 0:
            text[at()] = static_cast<char>(random());
            break;
        case 1:
            text.resize(at());
            break;
        case 2:
            text.erase(at(), random() % 40);
            break;
        case 3: {
            const std::string part = text.substr(at(), random() % 200);
            text.insert(at(), part);
            break;
        }
        default:
            static constexpr const char* kTokens[] = {
                "null",   "-1", "1e999", "{", "]", "\"", "true", "[]", "99999999999999999999",
                "\\u0000"};
            text.insert(at(), kTokens[random() % std::size(kTokens)]);
    }
    return text;
}

TEST(Document, mutated_thousands_of_times_ends_in_sets_or_an_error) {
    const auto merge = [](const std::string& text) {
        const StandardInput input(text);
        ctl::LeftOut leftOut;
        return ctl::merge_files({{"a", "-"}}, &leftOut);
    };
    const std::string exported = document_of({working_set(), working_set("ff")});
    std::ostringstream merged;
    ctl::write_merged_json(merge(exported), merged);
    std::mt19937 random(4711);
    int accepted = 0;
    for (int i = 0; i < MUTATIONS; ++i) {
        std::string text = i % 2 == 0 ? exported : merged.str();
        for (unsigned long n = random() % 3 + 1; n > 0; --n) {
            if (!text.empty()) text = mutated(std::move(text), random);
        }
        try {
            merge(text);
            ++accepted;
        } catch (const ctl::DocumentError& error) {
            EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos) << error.what();
        }
    }
    // Some changes leave a valid document; most do not.
    EXPECT_GT(accepted, 0);
    EXPECT_LT(accepted, MUTATIONS / 2);
}

}  // namespace
}  // namespace texprobe::tests
