// merge: counts that are right, the same in any order, and in memory that does not grow with the
// number of sets.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <random>

#include "ctl/ctl_folder.h"
#include "ctl/written_sets.h"
#include "documents/merge.h"

namespace texprobe::tests {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

const ctl::Cell kUploadOfRgba8 = {7, kUploadSet};

/// A set of one of `drivers` drivers with verdicts by chance.
ctl::RecordSet random_set(std::mt19937& random, unsigned drivers) {
    const unsigned long driver = random() % drivers;
    ctl::RecordSet set = working_set("ab" + std::to_string(driver % 10));
    set.glVersion = "4.5 driver " + std::to_string(driver);
    if (driver % 3 == 0) set.renderer = std::nullopt;
    set.isComplete = random() % 4 != 0;
    ctl::for_each_cell([&](const ctl::Cell& cell) {
        const unsigned long chance = random() % 100;
        set.verdicts[cell] =
            chance < 90 ? ctl::Verdict::kYes : static_cast<ctl::Verdict>(chance % 6);
    });
    return set;
}

ctl::RecordSets random_sets(std::size_t count, unsigned drivers, unsigned seed) {
    std::mt19937 random(seed);
    ctl::RecordSets sets;
    for (std::size_t i = 0; i < count; ++i) sets.push_back(random_set(random, drivers));
    return sets;
}

/// A present set of a GPU with this verdict, and nothing else that is not a yes.
ctl::RecordSet set_with(ctl::Verdict verdict) {
    ctl::RecordSet set = working_set();
    set.isPresent = true;
    set.verdicts[kUploadOfRgba8] = verdict;
    return set;
}

class Merge : public testing::Test {
protected:
    std::string merge(const std::vector<std::string>& names) const {
        std::vector<std::string> arguments = {"merge", "--json"};
        for (const std::string& name : names) arguments.push_back(folder_.file(name));
        const Finished run = folder_.ctl(arguments);
        EXPECT_TRUE(run.exited_with(0)) << run.err;
        return run.out;
    }

    void keep(const std::string& name, const ctl::RecordSets& sets) const {
        write_file(folder_.file(name), document_of(sets));
    }
    std::string text_of_merging(const std::string& name) const {
        return folder_.ctl({"merge", folder_.file(name)}).out;
    }

    CtlFolder folder_{CTL, SCRIPTED_TOOL};
};

TEST_F(Merge, counts_each_verdict_of_each_driver) {
    ctl::RecordSets sets = {working_set(), set_with(ctl::Verdict::kCrashed),
                            set_with(ctl::Verdict::kNo)};
    sets[2].glVersion = "another";
    keep("a.json", sets);
    const json merged = json::parse(merge({"a.json"}));
    EXPECT_EQ(merged["sets"], 3);
    EXPECT_EQ(merged["complete"], 3);
    EXPECT_EQ(merged["drivers"].size(), 2u);
    EXPECT_EQ(merged["formats"][7]["name"], "GL_RGBA8");
    EXPECT_EQ(merged["formats"][7]["upload_set"],
              json::parse(R"({"yes": 1, "no": 1, "unmeasured": 0, "not_applicable": 0,
                              "crashed": 1, "hung": 0})"));
    EXPECT_THAT(
        text_of_merging("a.json"),
        AllOf(HasSubstr("3 record sets of 2 drivers, 3 complete."),
              HasSubstr("GL_RGBA8                       all      all      1/3      all"),
              HasSubstr("another, build build-9, 1 set:\n  GL_RGBA8                   set\n"),
              HasSubstr("2 sets:\n  GL_RGBA8                   set on 1\n")));
}

TEST_F(Merge, comes_to_the_same_in_any_order_and_grouping) {
    const ctl::RecordSets sets = random_sets(60, 7, 2);
    const std::vector<std::string> parts = {"a.json", "b.json", "c.json", "d.json"};
    for (std::size_t i = 0; i < parts.size(); ++i) {
        keep(parts[i], {sets.begin() + static_cast<std::ptrdiff_t>(i * 15),
                        sets.begin() + static_cast<std::ptrdiff_t>(i * 15 + 15)});
    }
    const std::string whole = merge(parts);
    EXPECT_EQ(merge({"d.json", "b.json", "a.json", "c.json"}), whole);
    write_file(folder_.file("ab.json"), merge({"a.json", "b.json"}));
    write_file(folder_.file("cd.json"), merge({"c.json", "d.json"}));
    EXPECT_EQ(merge({"ab.json", "cd.json"}), whole);
    EXPECT_EQ(merge({"cd.json", "b.json", "a.json"}), whole);
    write_file(folder_.file("whole.json"), whole);
    EXPECT_EQ(merge({"whole.json"}), whole);
}

class MergeOfMachines : public Merge {
protected:
    void SetUp() override {
        std::filesystem::create_directories(folder_.file("fleet"));
        for (const char* name : {"n1", "n3", "n5"}) keep_machine(name, {kHealthy});
        keep_machine("n8", {set_with(ctl::Verdict::kHung)});
        keep_machine("n4", {});
        keep_machine("n2", {set_before(), software_set()});
    }
    static ctl::RecordSet software_set() {
        ctl::RecordSet set = kHealthy;
        set.renderer = "llvmpipe (LLVM 15.0.6, 256 bits)";
        set.isSoftware = true;
        return set;
    }
    /// Of hardware and an older build, and not complete.
    static ctl::RecordSet set_before() {
        ctl::RecordSet set = working_set("abcd1234", "build-before");
        set.isComplete = false;
        return set;
    }
    void keep_machine(const std::string& name, const ctl::RecordSets& sets) const {
        keep("fleet/" + name + ".json", sets);
    }
    /// The lines before the sums.
    std::vector<std::string> outliers(const std::vector<std::string>& arguments) const {
        std::vector<std::string> words = {"merge"};
        words.insert(words.end(), arguments.begin(), arguments.end());
        const Finished run = folder_.ctl(words);
        EXPECT_TRUE(run.exited_with(0)) << run.err;
        std::vector<std::string> lines;
        for (const std::string& line : lines_of(run.out)) {
            if (line.find(" record set") != std::string::npos) break;
            if (!line.empty()) lines.push_back(line);
        }
        return lines;
    }
    std::string first_outlier(const std::vector<std::string>& arguments) const {
        const std::vector<std::string> lines = outliers(arguments);
        return lines.empty() ? "none" : lines.front();
    }
    std::string file(const std::string& name) const { return folder_.file("fleet") / name; }

    inline static const ctl::RecordSet kHealthy = set_with(ctl::Verdict::kYes);
    const std::vector<std::string> all_ = {
        "n8: GL_RGBA8 upload set hung; 3 machines with the same driver: yes", "n4: no records",
        "n2: software renderer (llvmpipe)"};
};

TEST_F(MergeOfMachines, names_those_that_differ_first) {
    EXPECT_EQ(outliers({file("")}), all_);
}

TEST_F(MergeOfMachines, names_one_of_two_by_what_it_is_now) {
    const ctl::RecordSet hung = set_with(ctl::Verdict::kHung);
    const struct {
        const char* what;
        std::vector<ctl::RecordSets> machines;
        const char* outlier;
    } kCases[] = {
        {"alike", {{kHealthy}, {kHealthy}}, "none"},
        {"alone with a driver", {{hung}}, "none"},
        {"present software", {{software_set(), set_before()}}, "m0: software renderer (llvmpipe)"},
        {"without a present set", {{set_before()}}, "m0: not complete"},
        {"a GPU beside software", {{kHealthy, software_set()}}, "none"},
        {"all software", {{software_set()}, {software_set()}}, "none"},
        {"software beside a GPU",
         {{software_set()}, {software_set()}, {kHealthy}},
         "m0, m1: software renderer (llvmpipe)"},
        {"a document is one machine",
         {{hung, hung}, {kHealthy}, {kHealthy}},
         "m0: GL_RGBA8 upload set hung; 2 machines with the same driver: yes"}};
    for (const auto& [what, machines, outlier] : kCases) {
        std::vector<std::string> files;
        for (const ctl::RecordSets& sets : machines) {
            const std::string name = "m" + std::to_string(files.size());
            keep_machine(name, sets);
            files.push_back(file(name + ".json"));
        }
        EXPECT_EQ(first_outlier(files), outlier) << what;
    }
}

TEST_F(MergeOfMachines, takes_their_names_from_the_arguments) {
    EXPECT_EQ(outliers({file("n1.json"), "lab 7=" + file("n8.json"), "gone=" + file("n4.json")}),
              (std::vector<std::string>{
                  "lab 7: GL_RGBA8 upload set hung; 1 machine with the same driver: yes",
                  "gone: no records"}));
    // A file that is there is that file.
    std::filesystem::copy(file("n8.json"), file("a=b.json"));
    EXPECT_EQ(first_outlier({file("n1.json"), file("a=b.json")}),
              "a=b: GL_RGBA8 upload set hung; 1 machine with the same driver: yes");
}

TEST_F(MergeOfMachines, names_the_same_ones_from_sums_of_parts) {
    const std::string whole = merge({"fleet"});
    write_file(folder_.file("a"), merge({"fleet/n2.json", "fleet/n4.json", "fleet/n8.json"}));
    write_file(folder_.file("b"), merge({"fleet/n3.json", "fleet/n1.json"}));
    EXPECT_EQ(merge({"a", "fleet/n5.json", "b"}), whole);
    EXPECT_EQ(outliers({folder_.file("b"), folder_.file("a"), file("n5.json")}), all_);
    const json merged = json::parse(whole);
    EXPECT_EQ(merged["states"], json::parse(R"([
        {"state": "no_records", "outlier": true, "machine_count": 1, "machines": ["n4"]},
        {"state": "software", "renderer": "llvmpipe", "outlier": true, "machine_count": 1,
         "machines": ["n2"]}])"));
    json failures;
    for (const json& driver : merged["drivers"]) {
        for (const json& failure : driver["failures"]) failures.push_back(failure);
    }
    EXPECT_EQ(failures, json::parse(R"([{"name": "GL_RGBA8", "capability": "upload_set",
        "verdict": "hung", "usual": "yes", "outlier": true, "machine_count": 1,
        "machines": ["n8"]}])"));
}

TEST_F(MergeOfMachines, loses_no_failure_whose_name_it_does_not_know) {
    const std::string text = merge({"fleet/n8.json"});
    const struct {
        std::string old;
        std::string now;
        const char* complaint;
    } kCases[] = {{"\"GL_RGBA8\",\"capability", "\"GL_RGBA9\",\"capability",
                   "name: \"GL_RGBA9\" is none of the sixteen formats"},
                  {"\"capability\":\"upload_set", "\"capability\":\"upload",
                   "capability: \"upload\" is none of the six capabilities"},
                  {"\"verdict\":\"hung", "\"verdict\":\"yes",
                   "verdict: \"verdict\" is \"yes\"; expected no, crashed or hung"}};
    for (const auto& [old, now, complaint] : kCases) {
        std::string changed = text;
        changed.replace(changed.find(old), old.size(), now);
        write_file(folder_.file("changed.json"), changed);
        const Finished run = folder_.ctl({"merge", folder_.file("changed.json")});
        EXPECT_TRUE(run.exited_with(2));
        EXPECT_THAT(run.err, HasSubstr(std::string("changed.json: drivers[0].failures[0].") +
                                       complaint + '\n'));
    }
}

TEST_F(MergeOfMachines, counts_one_that_is_given_twice_once) {
    const std::string copy = folder_.file("n8.json");
    std::filesystem::copy(file("n8.json"), copy);
    const Finished twice = folder_.ctl({"merge", "--json", file(""), copy});
    EXPECT_EQ(twice.out, merge({"fleet"}));
    EXPECT_THAT(twice.err, HasSubstr("texprobectl: " + copy +
                                     " is not counted: n8 was given before; NAME=FILE names "
                                     "another machine\n"));
    EXPECT_EQ(first_outlier({file(""), "n9=" + copy}),
              "n8, n9: GL_RGBA8 upload set hung; 3 machines with the same driver: yes");
}

TEST_F(MergeOfMachines, names_twenty_and_counts_the_others) {
    for (int i = 10; i < 35; ++i) {
        keep_machine("m" + std::to_string(i), {set_with(ctl::Verdict::kCrashed)});
        keep_machine("x" + std::to_string(i), {kHealthy});
    }
    EXPECT_THAT(first_outlier({file("")}),
                AllOf(HasSubstr("m10, m11, "), HasSubstr(", m29 and 5 more: GL_RGBA8 upload set "
                                                         "crashed; 28 machines with ")));
}

TEST_F(Merge, counts_surveys_and_calls_none_alone_incomplete) {
    ctl::RecordSet measured = working_set();
    ctl::RecordSet alone;
    alone.id = measured.id;
    alone.rendererID = measured.rendererID;
    alone.systemBuild = measured.systemBuild;
    for (auto& format : alone.verdicts) format.fill(ctl::Verdict::kUnmeasured);
    measured.survey = alone.survey = written_survey();
    keep("a.json", {measured});
    keep("b.json", {alone});
    const std::string merged = merge({"a.json", "b.json"});
    write_file(folder_.file("merged.json"), merged);
    EXPECT_EQ(merge({"merged.json"}), merged);
    EXPECT_THAT(
        text_of_merging("merged.json"),
        AllOf(Not(HasSubstr("not complete")), HasSubstr("1 record set of 2 drivers, 1 complete."),
              HasSubstr("\nSurveyed: 2 sets. Broken promises:\n"
                        "  GL_RGBA8 filter wrong in core profile on 2: "),
              HasSubstr("  GL_RGBA8 render crashed in core profile on 2: ")));
    EXPECT_THAT(text_of_merging("b.json"), HasSubstr("0 record sets of 1 driver, 0 complete."));
}

TEST_F(Merge, names_drivers_that_fail_alike_together) {
    ctl::RecordSets sets(500, set_with(ctl::Verdict::kNo));
    for (std::size_t i = 0; i < sets.size(); ++i) {
        sets[i].glVersion = "4.5 driver " + std::to_string(i);
    }
    sets[7].verdicts[8][3] = ctl::Verdict::kHung;
    keep("a.json", sets);
    const std::string text = text_of_merging("a.json");
    EXPECT_THAT(text, HasSubstr("\nDoes not work on 499 drivers alike, 499 sets:\n"
                                "    a renderer, 4.5 driver 0 and 498 more\n"
                                "  GL_RGBA8                   set\n"
                                "\nDoes not work on a renderer\n  4.5 driver 7, build "));
    EXPECT_LT(lines_of(text).size(), 30u);
}

TEST_F(Merge, of_a_folder_without_documents_says_so) {
    std::filesystem::create_directories(folder_.file("none"));
    const Finished run = folder_.ctl({"merge", folder_.file("none")});
    EXPECT_TRUE(run.exited_with(2));
    EXPECT_EQ(run.err, "texprobectl: " + folder_.file("none").string() +
                           " has no *.json\ntexprobectl: there is no record set to merge\n");
}

TEST_F(Merge, refuses_counts_that_no_sets_can_have) {
    keep("a.json", {working_set(), working_set()});
    std::string text = merge({"a.json"});
    const std::size_t driver = text.find("\"drivers\"");
    const std::size_t at = text.find("\"yes\":", driver) + 6;
    text.replace(at, text.find(',', at) - at, "7");
    write_file(folder_.file("b.json"), text);
    const Finished run = folder_.ctl({"merge", folder_.file("b.json")});
    EXPECT_TRUE(run.exited_with(2));
    EXPECT_THAT(run.err, HasSubstr("sets; expected 2"));
}

/// The merged document of that many sets of one driver.
std::string merged_sets(std::uint64_t count, const std::string& renderer) {
    ctl::Merged merged;
    ctl::Counted counted;
    counted.sets = count;
    ctl::for_each_cell([&](const ctl::Cell& cell) { counted.cells[cell][0] = count; });
    merged.add(ctl::Driver{renderer, "build", "Vendor", "1.0", "Renderer"}, counted);
    std::ostringstream text;
    ctl::write_merged_json(merged, text);
    return text.str();
}

TEST_F(Merge, writes_nothing_that_it_refuses_to_read) {
    constexpr std::uint64_t kMost = 1'000'000'000'000;
    write_file(folder_.file("half.json"), merged_sets(kMost / 2, "ab"));
    write_file(folder_.file("other.json"), merged_sets(kMost / 2 + 1, "cd"));
    keep("one.json", {working_set()});
    const std::string whole = merge({"half.json", "half.json"});
    EXPECT_EQ(json::parse(whole)["sets"], kMost);
    write_file(folder_.file("whole.json"), whole);
    EXPECT_EQ(merge({"whole.json"}), whole);
    // One more, of the same driver, of another, or of an export: the place is that of the last.
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"half.json", "other.json"}, "other.json: drivers[0]"},
        {{"whole.json", "one.json"}, "one.json: record_sets[0]"},
        {{"one.json", "whole.json"}, "whole.json: drivers[0]"}};
    for (const auto& [files, place] : cases) {
        const Finished run =
            folder_.ctl({"merge", "--json", folder_.file(files[0]), folder_.file(files[1])});
        EXPECT_TRUE(run.exited_with(2)) << place;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "texprobectl: " + (folder_.path() / place).string() +
                               ": with this, more than 1000000000000 record sets\n");
    }
}

/// The peak of memory of merging that many sets of twenty drivers, in kilobytes.
long peak_of(const CtlFolder& folder, std::size_t count) {
    const std::string text = document_of(random_sets(100, 20, 5));
    const std::size_t begin = text.find("    {");
    const std::size_t end = text.rfind("\n  ]");
    const std::filesystem::path file = folder.file("many.json");
    std::ofstream stream(file);
    stream << text.substr(0, begin);
    for (std::size_t i = 0; i < count; i += 100) {
        stream << (i == 0 ? "" : ",\n") << text.substr(begin, end - begin);
    }
    stream << text.substr(end) << std::flush;
    const pid_t process = folder.start_ctl({"merge", file, "--json"});
    int status = -1;
    rusage usage = {};
    wait4(process, &status, 0, &usage);
    EXPECT_EQ(status, 0) << read_file(folder.file("ctl.err"));
    EXPECT_EQ(json::parse(read_file(folder.file("ctl.out")))["sets"], count);
    return usage.ru_maxrss;
}

TEST_F(Merge, needs_no_more_memory_for_more_sets) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer keeps freed memory";
#endif
    const long few = peak_of(folder_, 1000);
    const long many = peak_of(folder_, MERGED_SETS);
    EXPECT_LT(many, few + 4096);
}

}  // namespace
}  // namespace texprobe::tests
