// Documents: what is written is valid, what is read back is the same, and what is wrong with those
// of strangers is said with its place.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <iostream>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include "ctl/ctl_folder.h"
#include "ctl/prepared_records.h"
#include "documents/document.h"
#include "documents/merged_document.h"
#include "documents/write_json.h"

namespace texprobe::tests {
namespace {

using nlohmann::json;
using testing::HasSubstr;

const std::string kID = kIDPrefix + "abcd1234.build-9";
const std::string kOtherID = kIDPrefix + "ff.build-9";

class Document : public testing::Test {
protected:
    void SetUp() override {
        folder_.prepare(SCRIPTED_TOOL, complete_set(kID, "1.0", {{"GL_RGB8_UPLOAD_SET", false}}) +
                                           complete_set(kOtherID, "2.0"));
        exported_ = folder_.ctl({"export"}).out;
    }

    /// What compare says to a document of this text.
    std::string complaint(const std::string& text) const {
        write_file(folder_.file("bad.json"), text);
        const Finished run = folder_.ctl({"compare", folder_.file("bad.json"), "1"});
        EXPECT_TRUE(run.exited_with(2)) << run.err;
        EXPECT_EQ(lines_of(run.err).size(), 1u) << run.err;
        const std::string beginning = "texprobectl: " + folder_.file("bad.json").string();
        EXPECT_EQ(run.err.substr(0, beginning.size()), beginning) << run.err;
        return run.err.substr(std::min(run.err.size(), beginning.size()));
    }
    std::string with(const std::string& old, const std::string& now) const {
        std::string text = exported_;
        const std::size_t at = text.find(old);
        EXPECT_NE(at, std::string::npos) << old;
        return text.replace(at, old.size(), now);
    }

    CtlFolder folder_{CTL, SCRIPTED_TOOL};
    std::string exported_;
};

TEST_F(Document, of_every_kind_is_valid_for_a_validator_that_is_not_ours) {
    const std::vector<std::vector<std::string>> commands = {{"list", "--json"},
                                                            {"show", "1", "--json"},
                                                            {"export"},
                                                            {"compare", "1", "2", "--json"},
                                                            {"doctor", "--json"}};
    std::string files;
    const auto keep = [&](const std::string& name, const std::string& text) {
        write_file(folder_.file(name), text);
        files += " '" + folder_.file(name).string() + "'";
    };
    for (const auto& command : commands) {
        keep(command.front() + ".json", folder_.ctl(command).out);
    }
    keep("merge.json", folder_.ctl({"merge", folder_.file("export.json"), "--json"}).out);
    const int status = run_in_shell(std::string(VALIDATOR) + " " + SCHEMA + files);
    if (status == 77) GTEST_SKIP() << "python3-jsonschema is not installed";
    EXPECT_EQ(status, 0);
    // The validator is awake.
    keep("wrong.json", with("\"yes\"", "\"maybe\""));
    EXPECT_NE(run_in_shell(std::string(VALIDATOR) + " " + SCHEMA + files + " >/dev/null"), 0);
}

TEST_F(Document, holds_what_is_recorded) {
    const json set = json::parse(exported_)["record_sets"][0];
    EXPECT_EQ(set["id"], kID);
    EXPECT_EQ(set["renderer_id"], "abcd1234");
    EXPECT_EQ(set["system_build"], "build-9");
    EXPECT_EQ(set["version"], 0.21);
    EXPECT_EQ(set["present"], false);
    EXPECT_EQ(set["complete"], true);
    EXPECT_EQ(set["vendor"], "Mesa");
    EXPECT_EQ(set["gl_version"], "1.0");
    EXPECT_EQ(set["renderer"], "a renderer");
    ASSERT_EQ(set["formats"].size(), 16u);
    for (std::size_t i = 0; i < 16; ++i) {
        EXPECT_EQ(set["formats"][i]["name"], kFormats[i].name);
        EXPECT_EQ(set["formats"][i]["internal_format"], kFormats[i].internalFormat);
    }
    EXPECT_EQ(set["formats"][6]["upload_set"], "no");
    EXPECT_EQ(set["formats"][6]["upload_reset"], "yes");
}

TEST_F(Document, read_back_is_the_same) {
    write_file(folder_.file("a.json"), exported_);
    std::ostringstream again;
    ctl::write_records_json(ctl::read_documents({folder_.file("a.json")}), again);
    EXPECT_EQ(again.str(), exported_);
}

TEST_F(Document, that_is_wrong_gets_its_place) {
    EXPECT_EQ(complaint("{\n  \"schema\": \"something\"\n}\n"),
              ": schema: \"schema\" must be \"texprobe-records\"\n");
    EXPECT_EQ(complaint("[]"), ":1:1: expected an object\n");
    EXPECT_EQ(complaint("\n {}"), ": no document of texprobectl: \"schema\" is missing\n");
    EXPECT_THAT(complaint("{\n\"schema\":\n nonsense}"), HasSubstr(":3:"));
    EXPECT_THAT(
        complaint(with("\"texprobe-records\"", "\"texprobe-records\",\n \"schema\": \"x\"")),
        HasSubstr(":3:"));
    // RGB8 is the seventh of the formats.
    EXPECT_EQ(complaint(with("\"upload_set\":\"no\"", "\"upload_set\":\"perhaps\"")),
              ": record_sets[0].formats[6].upload_set: \"upload_set\" is \"perhaps\"; expected "
              "yes, no, unmeasured, "
              "not_applicable, crashed or hung\n");
    EXPECT_EQ(complaint(with("\"complete\": true", "\"complete\": 1")),
              ": record_sets[0].complete: \"complete\" must be true or false\n");
    EXPECT_THAT(complaint(with("      \"complete\": true,\n", "")),
                HasSubstr(": record_sets[0]: \"complete\" is missing"));
    EXPECT_THAT(complaint(with("GL_RGB8\"", "GL_RGB9\"")),
                HasSubstr("expected \"GL_RGB8\": the formats are in the tool's order"));
    EXPECT_THAT(complaint(with("\"renderer_id\": \"abcd1234\"", "\"renderer_id\": \"0\"")),
                HasSubstr("must be those of \"id\""));
    EXPECT_THAT(complaint(with(kID, "org.example.other")),
                HasSubstr("is no record set's identifier"));
}

TEST_F(Document, of_another_version_is_refused_with_a_clear_line) {
    EXPECT_EQ(complaint(with("\"schema_version\": 2", "\"schema_version\": 3")),
              ": schema_version: \"schema_version\" is 3: this texprobectl reads versions up to 2; "
              "use a newer one\n");
    EXPECT_THAT(complaint(with("  \"schema_version\": 2,\n", "")),
                HasSubstr("\"schema\" and \"schema_version\" must come first"));
}

TEST_F(Document, of_an_earlier_version_is_read) {
    write_file(folder_.file("old.json"), with("\"schema_version\": 2", "\"schema_version\": 1"));
    write_file(folder_.file("new.json"), exported_);
    const Finished run =
        folder_.ctl({"compare", folder_.file("old.json"), folder_.file("new.json")});
    EXPECT_TRUE(run.exited_with(0)) << run.err;
}

TEST_F(Document, with_members_that_are_not_known_is_read) {
    write_file(folder_.file("more.json"),
               with("\"record_sets\"", "\"note\": {\"a\": [1, 2]}, \"record_sets\""));
    EXPECT_TRUE(folder_.ctl({"compare", folder_.file("more.json"), folder_.file("more.json")})
                    .exited_with(0));
}

TEST_F(Document, cannot_take_the_memory_or_the_stack) {
    EXPECT_THAT(complaint("{\"schema\": \"" + std::string(1000000, 'x') + "\"}"),
                HasSubstr("a value of more than 65536 bytes"));
    EXPECT_THAT(complaint("{\"note\": " + std::string(100000, '[')),
                HasSubstr("nested too deeply"));
    std::string many =
        "{\"schema\": \"texprobe-records\", \"schema_version\": 1, \"record_sets\": [[";
    for (int i = 0; i < 2000; ++i) many += "1,";
    EXPECT_THAT(complaint(many + "1]]}"), HasSubstr("too many elements"));
    // A thousand lists of a thousand numbers, within the depth.
    many = "{\"schema\": \"texprobe-records\", \"schema_version\": 1, \"record_sets\": [[";
    std::string list = "[";
    for (int i = 0; i < 1000; ++i) list += "1,";
    for (int i = 0; i < 1000; ++i) many += list + "1],";
    EXPECT_THAT(complaint(many + "1]]}"), HasSubstr("an element of more than 1048576 bytes"));
}

TEST_F(Document, without_a_list_of_sets_is_refused) {
    const std::string begin = "{\"schema\": \"texprobe-records\", \"schema_version\": 1";
    ASSERT_EQ(begin.size(), 50u);
    EXPECT_EQ(complaint(begin + "}"), ": no document of texprobectl: \"record_sets\" is missing\n");
    for (const char* value : {"null", "{}", "{\"a\": [1]}", "true", "1", "\"[]\""}) {
        EXPECT_EQ(complaint(begin + ", \"record_sets\": " + value + "}"),
                  ": record_sets: \"record_sets\" must be an array\n");
    }
    EXPECT_EQ(
        complaint("{\"schema\": \"texprobe-records\",\n\"record_sets\": []}"),
        ": record_sets: \"schema\" and \"schema_version\" must come first: this is no document of "
        "texprobectl\n");
}

TEST_F(Document, with_a_NUL_is_refused) {
    const std::string nul(1, '\0');
    const std::string empty =
        "{\"schema\": \"texprobe-records\", \"schema_version\": 1, \"record_sets\": []}";
    EXPECT_EQ(complaint(empty + "\n" + nul + "{"), ":2:1: not JSON: a NUL\n");
    EXPECT_EQ(complaint(nul + empty), ":1:1: not JSON: a NUL\n");
    EXPECT_EQ(complaint(with("a renderer", "a" + nul + "b")), ":14:21: not JSON: a NUL\n");
    EXPECT_EQ(complaint(with("a renderer", "a\\u0000b")), ":14:28: a text with a NUL\n");
    EXPECT_EQ(complaint("{\"a\\u0000b\": 1}"), ":1:11: a text with a NUL\n");
}

TEST_F(Document, that_cannot_be_read_is_named) {
    EXPECT_EQ(folder_.ctl({"compare", "/tmp", "/tmp"}).err,
              "texprobectl: /tmp: a folder, and not a document\n");
    // Its first page is not there.
    EXPECT_EQ(folder_.ctl({"merge", "/proc/self/mem"}).err,
              "texprobectl: /proc/self/mem: Input/output error\n");
    EXPECT_EQ(folder_.ctl({"merge", "/no/such/file"}).err,
              "texprobectl: /no/such/file: No such file or directory\n");
}

TEST_F(Document, with_an_empty_list_is_named_by_who_reads_it) {
    const std::string full = folder_.file("full.json");
    const std::string empty = folder_.file("empty.json");
    write_file(full, exported_);
    write_file(empty,
               "{\"schema\": \"texprobe-records\", \"schema_version\": 1, \"record_sets\": []}");
    const std::string line = "texprobectl: " + empty + " has no record set";
    for (const auto& arguments :
         {std::vector<std::string>{"compare", full, empty}, {"compare", empty, empty}}) {
        const Finished run = folder_.ctl(arguments);
        EXPECT_TRUE(run.exited_with(2));
        EXPECT_EQ(run.err, line + " to compare\n");
    }
    for (const auto& arguments : {std::vector<std::string>{"merge", full, empty},
                                  {"report", empty, full, "-o", folder_.file("page.html")}}) {
        const Finished run = folder_.ctl(arguments);
        EXPECT_TRUE(run.exited_with(0));
        EXPECT_EQ(run.err, line + "\n");
    }
    for (const auto& arguments : {std::vector<std::string>{"merge", empty},
                                  {"merge", empty, "--json"},
                                  {"report", empty, "-o", full}}) {
        const Finished run = folder_.ctl(arguments);
        EXPECT_TRUE(run.exited_with(2));
        EXPECT_EQ(run.out, "");
        EXPECT_THAT(run.err, HasSubstr(line + "\ntexprobectl: there is no record set to "));
    }
    EXPECT_EQ(read_file(full), exported_);
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

TEST_F(Document, mutated_thousands_of_times_ends_in_sets_or_an_error) {
    write_file(folder_.file("a.json"), exported_);
    const std::string merged = folder_.ctl({"merge", folder_.file("a.json"), "--json"}).out;
    const RecordSets before = folder_.records();
    std::mt19937 random(4711);
    int accepted = 0;
    for (int i = 0; i < MUTATIONS; ++i) {
        std::string text = i % 2 == 0 ? exported_ : merged;
        for (unsigned long n = random() % 3 + 1; n > 0; --n) {
            if (!text.empty()) text = mutated(std::move(text), random);
        }
        std::istringstream input(text);
        std::streambuf* const old = std::cin.rdbuf(input.rdbuf());
        try {
            ctl::LeftOut leftOut;
            ctl::merge_files({{"a", "-"}}, &leftOut);
            ++accepted;
        } catch (const ctl::DocumentError& error) {
            EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos) << error.what();
        }
        std::cin.rdbuf(old);
    }
    // Some changes leave a valid document; most do not.
    EXPECT_GT(accepted, 0);
    EXPECT_LT(accepted, MUTATIONS / 2);
    EXPECT_EQ(folder_.records(), before);
}

}  // namespace
}  // namespace texprobe::tests
