#include "doctor/doctor.h"

#include <runs/run_ends.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "doctor/anonymizer.h"
#include "process/child.h"
#include "records/catalogue.h"
#include "records/turn.h"

// POSIX leaves the declaration to its users; some systems make it nevertheless.
extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace texprobe::ctl {

namespace {

constexpr std::chrono::seconds kOpenLimit{60};

/// The variables that decide which driver is loaded, and which features it has.
constexpr std::array<const char*, 13> kVariables = {
    "MESA_", "LIBGL_",   "GALLIUM_",         "EGL_", "__EGL_",          "__GLX_",    "__NV_",
    "VK_",   "DISPLAY=", "WAYLAND_DISPLAY=", "LP_",  "LD_LIBRARY_PATH", "LD_PRELOAD"};

bool take_line(Stream stream, std::string_view text, ExaminedRenderer* renderer) {
    const std::size_t space = std::min(text.find(' '), text.size());
    const std::string_view name = text.substr(0, space);
    const std::string value(text.substr(std::min(space + 1, text.size())));
    if (stream == Stream::kError) {
        renderer->messages.emplace_back(text);
    } else if (name == "opened") {
        renderer->isOpened = true;
        renderer->megabytes = std::atoi(value.c_str());
    } else if (name == "vendor") {
        renderer->vendor = value;
    } else if (name == "version") {
        renderer->glVersion = value;
    } else if (name == "renderer") {
        renderer->renderer = value;
    } else {
        renderer->trouble = text;
    }
    return false;
}

std::string describe_system() {
    utsname name;
    if (uname(&name) != 0) return {};
    return std::string(name.sysname) + ' ' + name.release + ' ' + name.machine;
}

std::vector<std::pair<std::string, std::string>> list_variables() {
    std::vector<std::pair<std::string, std::string>> variables;
    for (char** entry = environ; *entry; ++entry) {
        const std::string text = *entry;
        const bool matters =
            std::any_of(kVariables.begin(), kVariables.end(),
                        [&](const char* beginning) { return text.rfind(beginning, 0) == 0; });
        const std::size_t equals = text.find('=');
        if (matters && equals != std::string::npos) {
            variables.emplace_back(text.substr(0, equals), text.substr(equals + 1));
        }
    }
    std::sort(variables.begin(), variables.end());
    return variables;
}

void anonymize(Diagnosis* diagnosis) {
    const Names names = names_of_system();
    std::vector<std::string*> texts = {&diagnosis->tool,        &diagnosis->trouble,
                                       &diagnosis->system,      &diagnosis->systemBuild,
                                       &diagnosis->store.place, &diagnosis->store.health};
    for (ExaminedRenderer& renderer : diagnosis->renderers) {
        texts.push_back(&renderer.trouble);
        for (std::string& message : renderer.messages) texts.push_back(&message);
    }
    for (auto& [name, value] : diagnosis->variables) {
        if (name == "DISPLAY") value = without_host_of_display(value);
        texts.push_back(&value);
    }
    for (std::string* text : texts) *text = without_names(*text, names);
}

}  // namespace

ExaminedRenderer examine_renderer(const std::string& self, std::uint32_t id) {
    ExaminedRenderer renderer;
    renderer.rendererID = hexadecimal(id);
    const RunEnd end = run_child(
        {self, kOpenTask, {renderer.rendererID}, kOpenLimit, [&](Stream stream, auto text) {
             return take_line(stream, text, &renderer);
         }});
    if (end.kind == RunEnd::Kind::kExited && end.number == 0) return renderer;
    Opening failed;
    failed.trouble = renderer.trouble;
    static_cast<Opening&>(renderer) = failed;
    if (end.kind == RunEnd::Kind::kSignalled) {
        renderer.trouble = "opening it ended the process by " + name_of_signal(end.number);
    } else if (end.kind == RunEnd::Kind::kTimeLimit) {
        renderer.trouble =
            "opening it did not end within " + std::to_string(kOpenLimit.count()) + " s";
    } else if (end.kind == RunEnd::Kind::kNotStarted) {
        renderer.trouble = std::string("could not be tried: ") + std::strerror(end.number);
    } else if (renderer.trouble.empty()) {
        renderer.trouble = "opening it ended the process";
    }
    return renderer;
}

Diagnosis examine(const std::string& self, const std::string& tool) {
    const Machine machine = look_at_machine();
    Diagnosis diagnosis;
    diagnosis.version = TEXPROBECTL_VERSION;
    diagnosis.system = describe_system();
    diagnosis.systemBuild = machine.systemBuild;
    diagnosis.tool = tool;
    diagnosis.displays = machine.displayCount;
    diagnosis.trouble = machine.trouble;
    for (const std::uint32_t renderer : machine.renderers) {
        ExaminedRenderer examined = examine_renderer(self, renderer);
        examined.isSoftware = machine.is_software(examined.rendererID, examined.renderer);
        diagnosis.renderers.push_back(std::move(examined));
    }
    diagnosis.store = examine_store();
    diagnosis.recordSets = read_record_sets(machine).size();
    diagnosis.measuring = turn_holder();
    diagnosis.variables = list_variables();
    anonymize(&diagnosis);
    return diagnosis;
}

int open_for_doctor(const std::vector<std::string>& arguments) {
    const std::string rendererID = arguments.empty() ? "" : arguments.front();
    std::uint32_t id = 0;
    std::from_chars(rendererID.data(), rendererID.data() + rendererID.size(), id, 16);
    const Opening opening = open_renderer(id);
    if (opening.isOpened) {
        std::printf("opened %d\nvendor %s\nversion %s\nrenderer %s\n", opening.megabytes,
                    opening.vendor.c_str(), opening.glVersion.c_str(), opening.renderer.c_str());
    } else {
        std::printf("%s\n", opening.trouble.c_str());
    }
    return opening.isOpened ? 0 : 1;
}

}  // namespace texprobe::ctl
