// Which record set a command means.

#include "selection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace texprobe::tests {
namespace {

using testing::HasSubstr;

ctl::RecordSet set_named(const std::string& id, bool isPresent) {
    ctl::RecordSet set;
    set.id = id;
    set.isPresent = isPresent;
    return set;
}

std::string trouble_with(const ctl::RecordSets& sets) {
    try {
        ctl::only_present_set(sets);
    } catch (const ctl::UsageError& error) {
        return error.what();
    }
    return "none";
}

TEST(OnlyPresentSet, is_found_among_those_of_other_builds) {
    const ctl::RecordSets sets = {set_named("old", false), set_named("new", true)};
    EXPECT_EQ(ctl::only_present_set(sets).id, "new");
}

TEST(OnlyPresentSet, is_missing_where_only_other_builds_were_measured) {
    EXPECT_THAT(trouble_with({set_named("old", false)}), HasSubstr("nothing is recorded"));
}

TEST(OnlyPresentSet, of_several_has_to_be_chosen) {
    EXPECT_EQ(trouble_with({set_named("a", true), set_named("b", true)}),
              "there are 2 record sets of this machine's present build; choose one with --set");
}

}  // namespace
}  // namespace texprobe::tests
