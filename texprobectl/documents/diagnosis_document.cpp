#include "doctor/doctor.h"
#include "documents/json_lines.h"
#include "documents/write_json.h"

namespace texprobe::ctl {

namespace {

Json renderer_of(const ExaminedRenderer& renderer) {
    return {{"renderer_id", renderer.rendererID},
            {"can_be_opened", renderer.isOpened},
            {"megabytes", renderer.isOpened ? Json(renderer.megabytes) : Json(nullptr)},
            {"software", renderer.isSoftware},
            {"vendor", known_or_null(renderer.vendor)},
            {"gl_version", known_or_null(renderer.glVersion)},
            {"renderer", known_or_null(renderer.renderer)},
            {"trouble", renderer.trouble},
            {"messages", renderer.messages}};
}

Json store_of(const ExaminedStore& store) {
    return {{"place", store.place},         {"exists", store.exists},
            {"owner_is_user", store.isOwn}, {"folder_mode", store.folderMode},
            {"file_mode", store.fileMode},  {"bytes", store.bytes},
            {"health", store.health}};
}

}  // namespace

void write_diagnosis_json(const Diagnosis& diagnosis, std::ostream& stream) {
    Json json = begin_document("texprobe-diagnosis");
    json["version"] = diagnosis.version;
    json["system"] = diagnosis.system;
    json["system_build"] = diagnosis.systemBuild;
    json["tool"] = known_or_null(diagnosis.tool);
    json["displays"] = diagnosis.displays;
    json["trouble"] = diagnosis.trouble;
    json["renderers"] = list_of(diagnosis.renderers, renderer_of);
    json["store"] = store_of(diagnosis.store);
    json["record_sets"] = diagnosis.recordSets;
    json["measuring_process"] =
        diagnosis.measuring == 0 ? Json(nullptr) : Json(diagnosis.measuring);
    json["variables"] = list_of(diagnosis.variables, [](const auto& variable) -> Json {
        return {{"name", variable.first}, {"value", variable.second}};
    });
    write_whole(json, stream);
}

}  // namespace texprobe::ctl
