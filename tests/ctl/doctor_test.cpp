// What doctor tells of a machine, and what it takes out of it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "ctl/ctl_folder.h"
#include "doctor/anonymizer.h"

namespace texprobe::tests {
namespace {

using ctl::Names;
using ctl::without_host_of_display;
using ctl::without_names;
using nlohmann::json;

const Names kPeople = {"lab7.example.org",
                       {"alice", "bob"},
                       {"/home/alice", "/data/alice-home"},
                       {"/srv/people/bob", "/home/carol"}};

TEST(WithoutNames, homes_of_the_user_and_of_others_are_none_s) {
    EXPECT_EQ(without_names("/home/alice/.local/lib", kPeople), "~/.local/lib");
    EXPECT_EQ(without_names("/data/alice-home", kPeople), "~");
    EXPECT_EQ(without_names("/srv/people/bob/lib:/home/carol/lib", kPeople), "~USER/lib:~USER/lib");
    EXPECT_EQ(without_names("/home/dave/lib:/Users/erin:/net/home/frank/x", kPeople),
              "/home/USER/lib:/Users/USER:/net/home/USER/x");
    EXPECT_EQ(without_names("/home", kPeople), "/home");
}

TEST(WithoutNames, users_are_nobody_wherever_their_names_stand) {
    EXPECT_EQ(without_names("cannot open /scratch/alice_2/x for Bob", kPeople),
              "cannot open /scratch/USER_2/x for USER");
    EXPECT_EQ(without_names("malice bobsled alice2", kPeople), "malice bobsled alice2");
}

TEST(WithoutNames, host_has_no_name_and_no_domain) {
    EXPECT_EQ(without_names("/scratch/lab7-data/LAB7/lib", kPeople), "/scratch/HOST-data/HOST/lib");
    EXPECT_EQ(without_names("lab7.example.org:/export lab7.other-site.net, lab7.", kPeople),
              "HOST:/export HOST, HOST.");
    EXPECT_EQ(without_names("6.1.0-lab7_1 lab77 xlab7", kPeople), "6.1.0-HOST_1 lab77 xlab7");
    EXPECT_EQ(without_names("localhost", {"localhost", {}, {}, {}}), "localhost");
    EXPECT_EQ(without_names("nothing is known /", {"", {""}, {"/"}, {""}}), "nothing is known /");
}

TEST(WithoutHostOfDisplay, keeps_what_names_this_machine) {
    EXPECT_EQ(without_host_of_display("otherhost:0"), "HOST:0");
    EXPECT_EQ(without_host_of_display("other.example.org:10.0"), "HOST:10.0");
    EXPECT_EQ(without_host_of_display("tcp/192.0.2.7:0"), "HOST:0");
    EXPECT_EQ(without_host_of_display("[2001:db8::1]:0"), "HOST:0");
    for (const char* here : {":0", "unix:0", "localhost:10.0", "/private/tmp/x/org.x:0", "", "x"}) {
        EXPECT_EQ(without_host_of_display(here), here);
    }
}

class Doctor : public testing::Test {
protected:
    json doctor(const Environment& environment = {}) const {
        const Finished run = folder_.ctl({"doctor", "--json"}, environment);
        EXPECT_TRUE(run.exited_with(0)) << run.err;
        return json::parse(run.out);
    }

    std::filesystem::path store() const {
        std::filesystem::create_directories(folder_.file("records"));
        return folder_.file("records") / "records.sqlite3";
    }

    const CtlFolder folder_{CTL, TOOL};
};

TEST_F(Doctor, names_no_other_machine_and_no_other_user) {
    const json variables =
        doctor({"DISPLAY=otherhost:0", "MESA_LOG_FILE=/home/somebody-else/log"})["variables"];
    EXPECT_EQ(variables, json::parse(R"([{"name": "DISPLAY", "value": "HOST:0"},
                                         {"name": "MESA_LOG_FILE", "value": "/home/USER/log"}])"));
}

TEST_F(Doctor, names_what_the_contexts_of_the_renderers_say) {
    ASSERT_TRUE(folder_.ctl({"measure"}).exited_with(0));
    const json sets = json::parse(folder_.ctl({"export"}).out)["record_sets"];
    const json renderers = doctor()["renderers"];
    ASSERT_EQ(renderers.size(), sets.size());
    for (std::size_t i = 0; i < sets.size(); ++i) {
        for (const char* name : {"renderer_id", "vendor", "gl_version", "renderer"}) {
            EXPECT_EQ(renderers[i][name], sets[i][name]);
        }
    }
    EXPECT_EQ(renderers.back()["software"], true);
    const std::string text = folder_.ctl({"doctor"}).out;
    EXPECT_THAT(text, testing::HasSubstr(" MB, software\n"));
    EXPECT_THAT(
        text, testing::HasSubstr("\n               " + sets[0]["renderer"].get<std::string>() +
                                 ", " + sets[0]["vendor"].get<std::string>() + "\n               " +
                                 sets[0]["gl_version"].get<std::string>() + "\n"));
}

TEST_F(Doctor, shows_the_variables_that_choose_a_driver_and_what_the_driver_says) {
    const std::string text = folder_.ctl({"doctor"}, {"EGL_LOG_LEVEL=debug"}).out;
    EXPECT_THAT(text, testing::HasSubstr("\nvariable       EGL_LOG_LEVEL=debug\n"));
    EXPECT_THAT(text, testing::HasSubstr("\n               libEGL debug: "));
}

TEST_F(Doctor, does_not_open_what_is_no_file_in_the_store_s_place) {
    ASSERT_EQ(mkfifo(store().c_str(), 0600), 0);
    EXPECT_EQ(doctor()["store"]["health"], "it is not a regular file");
    std::filesystem::remove(store());
    std::filesystem::create_symlink("/dev/zero", store());
    EXPECT_EQ(doctor()["store"]["health"], "it is not a regular file");
    std::filesystem::remove(store());
    std::filesystem::create_symlink("nothing", store());
    EXPECT_EQ(doctor()["store"]["health"], "No such file or directory");
}

}  // namespace
}  // namespace texprobe::tests
