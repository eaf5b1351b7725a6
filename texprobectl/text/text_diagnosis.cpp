#include <fmt/format.h>

#include "doctor/doctor.h"
#include "records/plain_text.h"
#include "records/turn.h"
#include "text/write_text.h"

namespace texprobe::ctl {

void write_diagnosis_text(const Diagnosis& diagnosis, std::ostream& stream) {
    const auto item = [&](const char* name, const std::string& text) {
        stream << fmt::format("{:<15}{}\n", name, plain(text));
    };
    item("texprobectl", diagnosis.version);
    item("texprobe", diagnosis.tool.empty() ? "not found" : diagnosis.tool);
    item("system", diagnosis.system);
    item("build", diagnosis.systemBuild);
    item("displays", std::to_string(diagnosis.displays));
    if (!diagnosis.trouble.empty()) item("trouble", diagnosis.trouble);
    for (const ExaminedRenderer& renderer : diagnosis.renderers) {
        if (renderer.isOpened) {
            item("renderer",
                 fmt::format("{}, can be opened, {} MB{}", renderer.rendererID, renderer.megabytes,
                             renderer.isSoftware ? ", software" : ""));
            item("", fmt::format("{}, {}", renderer.renderer, renderer.vendor));
            item("", renderer.glVersion);
        } else {
            item("renderer",
                 fmt::format("{}, cannot be opened: {}", renderer.rendererID, renderer.trouble));
        }
        for (const std::string& message : renderer.messages) item("", message);
    }
    if (diagnosis.renderers.empty()) item("renderers", "none");
    const ExaminedStore& store = diagnosis.store;
    item("records", store.place);
    if (store.exists) {
        item("", fmt::format("owner {}, folder {}, file {}, {} bytes",
                             store.isOwn ? "you" : "another user", store.folderMode, store.fileMode,
                             store.bytes));
    }
    item("", store.health);
    item("record sets", std::to_string(diagnosis.recordSets));
    item("measuring now",
         diagnosis.measuring == 0 ? "no process" : name_of_holder(diagnosis.measuring));
    for (const auto& [name, value] : diagnosis.variables)
        item("variable", fmt::format("{}={}", name, value));
}

}  // namespace texprobe::ctl
