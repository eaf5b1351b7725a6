// The build string of the graphics stack, on vendor files and libraries laid out in a folder.

#include <elf.h>
#include <gtest/gtest.h>
#include <link.h>
#include <sys/stat.h>
#include <sys/sysctl.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <set>
#include <string>

#include "support/process.h"
#include "support/scratch_folder.h"
#include "sysctl/build_id.h"
#include "sysctl/graphics_build.h"

namespace {

using namespace std::string_literals;

using texprobe::platform::describe_graphics_build;
using texprobe::platform::find_library;
using texprobe::platform::identify_library;
using texprobe::platform::list_vendor_libraries;
using texprobe::platform::read_build_id;
using texprobe::platform::read_library_path;
using texprobe::tests::ScratchFolder;

template <typename Struct>
std::string bytes_of(const Struct& value) {
    return std::string(reinterpret_cast<const char*>(&value), sizeof value);
}

std::string note(std::uint32_t type, const std::string& name, const std::string& description) {
    ElfW(Nhdr) header = {};
    header.n_namesz = static_cast<std::uint32_t>(name.size());
    header.n_descsz = static_cast<std::uint32_t>(description.size());
    header.n_type = type;
    const auto padded = [](std::string text) {
        text.resize((text.size() + 3) / 4 * 4);
        return text;
    };
    return bytes_of(header) + padded(name) + padded(description);
}

/// The smallest ELF file that holds notes.
std::string elf_with_notes(const std::string& notes) {
    ElfW(Ehdr) header = {};
    std::memcpy(header.e_ident, ELFMAG, SELFMAG);
    header.e_ident[EI_CLASS] = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
    header.e_phoff = sizeof header;
    header.e_phentsize = sizeof(ElfW(Phdr));
    header.e_phnum = 2;
    ElfW(Phdr) load = {};
    load.p_type = PT_LOAD;
    ElfW(Phdr) segment = {};
    segment.p_type = PT_NOTE;
    segment.p_offset = sizeof header + sizeof load + sizeof segment;
    segment.p_filesz = notes.size();
    return bytes_of(header) + bytes_of(load) + bytes_of(segment) + notes;
}

std::string elf_with_build_id(const std::string& id) {
    const std::string gnu = "GNU\0"s;
    return elf_with_notes(note(NT_GNU_ABI_TAG, gnu, "0123456789abcdef") +
                          note(NT_GNU_BUILD_ID, gnu, id));
}

std::string build_id_of(const std::string& file) {
    return read_build_id([&file](std::uint64_t offset, std::size_t size) {
        return offset < file.size() ? file.substr(offset, size) : std::string();
    });
}

/// A system with vendor directories "etc" and "usr", and library directories "lib1" and "lib2".
class GraphicsBuild : public testing::Test {
protected:
    void add_vendor(const std::string& json, const std::string& library) const {
        folder_.write(json, "{\"ICD\": {\"library_path\": \"" + library + "\"}}\n");
    }
    std::string build() const {
        return describe_graphics_build("6.1.0", {path("etc"), path("usr")},
                                       {path("lib1"), path("lib2")});
    }
    std::filesystem::path path(const std::string& name) const { return folder_.path() / name; }

    ScratchFolder folder_;
};

TEST_F(GraphicsBuild, is_the_kernel_release_and_eight_digits) {
    const std::string text = build();
    ASSERT_EQ(text.size(), std::strlen("6.1.0-01234567"));
    EXPECT_EQ(text.rfind("6.1.0-", 0), 0u);
    EXPECT_EQ(text.find_first_not_of("0123456789abcdef", 6), std::string::npos);
}

TEST_F(GraphicsBuild, changes_with_the_vendors_and_the_build_ids_of_their_libraries) {
    add_vendor("usr/50_mesa.json", "libEGL_mesa.so.0");
    folder_.write("lib1/libEGL_mesa.so.0", elf_with_build_id("one"));
    std::set<std::string> builds = {build()};
    EXPECT_EQ(builds.count(build()), 1u);
    // The same build, installed again.
    folder_.write("lib1/libEGL_mesa.so.0", elf_with_build_id("one") + "more bytes");
    EXPECT_EQ(builds.count(build()), 1u);
    add_vendor("etc/10_nvidia.json", "libEGL_nvidia.so.0");
    EXPECT_TRUE(builds.insert(build()).second) << "a vendor has come";
    folder_.write("lib2/libEGL_nvidia.so.0", elf_with_build_id("first"));
    EXPECT_TRUE(builds.insert(build()).second) << "with its library";
    folder_.write("lib1/libEGL_mesa.so.0", elf_with_build_id("two"));
    EXPECT_TRUE(builds.insert(build()).second) << "another build of the one";
    folder_.write("lib2/libEGL_nvidia.so.0", elf_with_build_id("second"));
    EXPECT_TRUE(builds.insert(build()).second) << "and of the other";
    std::filesystem::remove(path("etc/10_nvidia.json"));
    folder_.write("lib1/libEGL_mesa.so.0", elf_with_build_id("one"));
    EXPECT_EQ(builds.count(build()), 1u) << "a vendor has gone";
}

TEST_F(GraphicsBuild, changes_with_the_size_or_the_time_of_a_library_without_a_build_id) {
    add_vendor("usr/50_mesa.json", "libEGL_mesa.so.0");
    folder_.write("lib1/libEGL_mesa.so.0", "not an ELF file");
    const auto time = std::filesystem::last_write_time(path("lib1/libEGL_mesa.so.0"));
    const std::string before = build();
    std::filesystem::last_write_time(path("lib1/libEGL_mesa.so.0"), time - std::chrono::hours(1));
    EXPECT_NE(build(), before);
    folder_.write("lib1/libEGL_mesa.so.0", "not an ELF file!");
    std::filesystem::last_write_time(path("lib1/libEGL_mesa.so.0"), time);
    EXPECT_NE(build(), before);
}

TEST_F(GraphicsBuild, looks_at_libegl_itself_where_no_vendor_is_installed) {
    folder_.write("lib2/libEGL.so.1", elf_with_build_id("one"));
    const std::string before = build();
    folder_.write("lib2/libEGL.so.1", elf_with_build_id("two"));
    EXPECT_NE(build(), before);
}

TEST_F(GraphicsBuild, ignores_the_environment) {
    add_vendor("usr/50_mesa.json", "libEGL_mesa.so.0");
    folder_.write("lib1/libEGL_mesa.so.0", elf_with_build_id("one"));
    folder_.write("other/libEGL_mesa.so.0", elf_with_build_id("two"));
    add_vendor("other/10_other.json", "libEGL_other.so.0");
    const std::string before = build();
    setenv("__EGL_VENDOR_LIBRARY_DIRS", path("other").c_str(), 1);
    setenv("__EGL_VENDOR_LIBRARY_FILENAMES", path("other/10_other.json").c_str(), 1);
    setenv("LD_LIBRARY_PATH", path("other").c_str(), 1);
    EXPECT_EQ(build(), before);
    unsetenv("__EGL_VENDOR_LIBRARY_DIRS");
    unsetenv("__EGL_VENDOR_LIBRARY_FILENAMES");
    unsetenv("LD_LIBRARY_PATH");
}

TEST_F(GraphicsBuild, has_no_white_space_and_no_slash) {
    EXPECT_EQ(describe_graphics_build("6.1 a/b\tc\n", {}, {}).rfind("6.1_a_b_c_-", 0), 0u);
}

TEST_F(GraphicsBuild, survives_files_that_make_no_sense) {
    folder_.write("usr/1.json", "");
    folder_.write("usr/2.json", "{\"library_path\"");
    folder_.write("usr/3.json", std::string("\0\xff\"library_path\":\"\0", 19));
    folder_.write("usr/4.txt", "{\"library_path\": \"libEGL_mesa.so.0\"}");
    std::filesystem::create_directories(path("usr/5.json"));
    std::filesystem::create_symlink("nowhere", path("usr/6.json"));
    ASSERT_EQ(mkfifo(path("usr/7.json").c_str(), 0600), 0);
    EXPECT_TRUE(list_vendor_libraries({path("usr")}).empty());
    add_vendor("usr/8.json", "fifo.so");
    ASSERT_EQ(mkdir(path("lib1").c_str(), 0700), 0);
    ASSERT_EQ(mkfifo(path("lib1/fifo.so").c_str(), 0600), 0);
    EXPECT_EQ(build().size(), std::strlen("6.1.0-01234567"));
}

TEST_F(GraphicsBuild, finds_vendors_directory_by_directory_in_the_order_of_their_names) {
    add_vendor("usr/10_c.json", "c.so");
    add_vendor("etc/90_b.json", "b.so");
    add_vendor("etc/10_a.json", "/opt/a.so");
    EXPECT_EQ(list_vendor_libraries({path("etc"), path("missing"), path("usr")}),
              (std::vector<std::string>{"/opt/a.so", "b.so", "c.so"}));
}

TEST_F(GraphicsBuild, finds_a_library_in_the_first_directory_that_has_it) {
    folder_.write("lib2/a.so", "");
    folder_.write("lib2/b.so", "");
    folder_.write("lib1/b.so", "");
    const std::vector<std::filesystem::path> directories = {path("lib1"), path("lib2")};
    EXPECT_EQ(find_library("a.so", directories), path("lib2/a.so"));
    EXPECT_EQ(find_library("b.so", directories), path("lib1/b.so"));
    EXPECT_EQ(find_library("c.so", directories), "c.so");
    EXPECT_EQ(find_library(path("lib2/b.so"), directories), path("lib2/b.so"));
}

TEST(LibraryPath, is_read_from_a_vendors_file) {
    EXPECT_EQ(read_library_path("{\n  \"file_format_version\" : \"1.0.0\",\n  \"ICD\" : {\n"
                                "    \"library_path\" : \"libEGL_mesa.so.0\"\n  }\n}\n"),
              "libEGL_mesa.so.0");
    EXPECT_EQ(read_library_path("{\"library_path\":\"\\/opt\\/a\\\\b\\\"c.so\"}"),
              "/opt/a\\b\"c.so");
}

TEST(LibraryPath, is_empty_where_a_file_has_none) {
    for (const char* json :
         {"", "{}", "\"library_path\"", "\"library_path\":", "\"library_path\":3",
          "\"library_path\":\"", "\"library_path\":\"a", "\"library_path\":\"a\\",
          "\"library_path\" \"a\"", "library_path:\"a\""}) {
        EXPECT_EQ(read_library_path(json), "") << json;
    }
}

TEST(BuildId, is_the_note_of_that_name_and_type) {
    const std::string gnu = "GNU\0"s;
    EXPECT_EQ(build_id_of(elf_with_build_id("\x01\x02\x03\x04\x05")), "\x01\x02\x03\x04\x05");
    EXPECT_EQ(build_id_of(elf_with_notes(note(NT_GNU_ABI_TAG, gnu, "id"))), "");
    EXPECT_EQ(build_id_of(elf_with_notes(note(NT_GNU_BUILD_ID, "Xen", "id"))), "");
    EXPECT_EQ(build_id_of(elf_with_notes("")), "");
    // Names and descriptions are padded to four bytes.
    EXPECT_EQ(
        build_id_of(elf_with_notes(note(1, "ab\0"s, "12345") + note(NT_GNU_BUILD_ID, gnu, "id"))),
        "id");
}

TEST(BuildId, is_empty_in_a_file_of_another_word_size) {
    std::string elf = elf_with_build_id("id");
    elf[EI_CLASS] = sizeof(void*) == 8 ? ELFCLASS32 : ELFCLASS64;
    EXPECT_EQ(build_id_of(elf), "");
}

TEST(BuildId, survives_a_file_that_ends_anywhere) {
    const std::string elf = elf_with_build_id("0123456789");
    for (std::size_t size = 0; size + 12 <= elf.size(); ++size) {
        EXPECT_EQ(build_id_of(elf.substr(0, size)).size() > 10, false) << size;
    }
}

TEST(BuildId, survives_every_byte_being_any_of_the_worst) {
    const std::string elf = elf_with_build_id("0123456789");
    for (std::size_t i = 0; i < elf.size(); ++i) {
        for (const char worst : {'\x00', '\x7f', '\x80', '\xff'}) {
            std::string damaged = elf;
            damaged[i] = worst;
            EXPECT_LE(build_id_of(damaged).size(), elf.size());
        }
    }
}

TEST(BuildId, of_a_real_library_is_found) {
    // As long as a SHA-1; a size and a time would be longer.
    EXPECT_EQ(identify_library("/proc/self/exe").size(), 20u);
    EXPECT_EQ(identify_library("/missing"), "");
    EXPECT_EQ(identify_library("/"), "");
}

std::string os_version() {
    std::size_t size = 0;
    EXPECT_EQ(sysctlbyname("kern.osversion", nullptr, &size, nullptr, 0), 0);
    std::string text(size, '?');
    EXPECT_EQ(sysctlbyname("kern.osversion", text.data(), &size, nullptr, 0), 0);
    EXPECT_EQ(size, text.size());
    EXPECT_EQ(text.back(), '\0');
    text.pop_back();
    return text;
}

TEST(OsVersion, begins_with_the_release_of_the_kernel) {
    utsname kernel = {};
    uname(&kernel);
    EXPECT_EQ(os_version().rfind(std::string(kernel.release) + '-', 0), 0u);
    EXPECT_EQ(os_version().find_first_of(" \t\n/"), std::string::npos);
    EXPECT_EQ(os_version().size(), std::strlen(kernel.release) + 9);
}

TEST(OsVersion, is_the_same_in_an_empty_environment) {
    // This program again, in an empty environment, prints the build string.
    const texprobe::tests::Finished again = texprobe::tests::run(
        {std::filesystem::read_symlink("/proc/self/exe"), {"--print-os-version"}});
    EXPECT_EQ(again.status, 0);
    EXPECT_EQ(again.err, os_version());
}

TEST(OsVersion, knows_no_other_name_and_cannot_be_set) {
    std::size_t size = 0;
    char value[] = "other";
    errno = 0;
    EXPECT_EQ(sysctlbyname("kern.osrelease", nullptr, &size, nullptr, 0), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(sysctlbyname("kern.osversion", nullptr, &size, value, sizeof value), -1);
    EXPECT_EQ(errno, EPERM);
}

TEST(OsVersion, is_not_written_where_it_has_no_room) {
    const std::string version = os_version();
    std::string text(version.size(), '?');
    std::size_t size = text.size();
    errno = 0;
    EXPECT_EQ(sysctlbyname("kern.osversion", text.data(), &size, nullptr, 0), -1);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(size, version.size() + 1);
    EXPECT_EQ(text, std::string(version.size(), '?'));
    EXPECT_EQ(sysctlbyname("kern.osversion", text.data(), nullptr, nullptr, 0), -1);
    EXPECT_EQ(errno, EFAULT);
    EXPECT_EQ(sysctlbyname("kern.osversion", nullptr, nullptr, nullptr, 0), 0);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], "--print-os-version") == 0) {
        std::fputs(os_version().c_str(), stderr);
        return 0;
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
