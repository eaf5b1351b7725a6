#include <nlohmann/json.hpp>

#include "documents/document.h"
#include "documents/merged_document.h"
#include "text/output.h"

namespace texprobe::ctl {

namespace {

using Json = nlohmann::ordered_json;

Json document(const char* schema) {
    return {{"schema", schema}, {"schema_version", kSchemaVersion}};
}

Json differences_of(const ComparedSets& pair) {
    Json array = Json::array();
    for (const Difference& difference : pair.differences) {
        array.push_back({{"name", kFormats[difference.cell.format].name},
                         {"internal_format", kFormats[difference.cell.format].internalFormat},
                         {"capability", kCapabilities[difference.cell.capability].member},
                         {"a", name_of(difference.a)},
                         {"b", name_of(difference.b)}});
    }
    return array;
}

Json identifications(const RecordSets& sets) {
    Json array = Json::array();
    for (const RecordSet& set : sets) array.push_back(identification(set));
    return array;
}

Json known(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

Json renderer_of(const ExaminedRenderer& renderer) {
    return {{"renderer_id", renderer.rendererID},
            {"can_be_opened", renderer.canBeOpened},
            {"megabytes", renderer.megabytes ? Json(*renderer.megabytes) : Json(nullptr)},
            {"vendor", known(renderer.vendor)},
            {"gl_version", known(renderer.glVersion)},
            {"renderer", known(renderer.renderer)},
            {"trouble", renderer.trouble},
            {"messages", renderer.messages}};
}

Json store_of(const ExaminedStore& store) {
    return {{"place", store.place},         {"exists", store.exists},
            {"owner_is_user", store.isOwn}, {"folder_mode", store.folderMode},
            {"file_mode", store.fileMode},  {"bytes", store.bytes},
            {"health", store.health}};
}

class JsonOutput : public Output {
public:
    explicit JsonOutput(std::ostream& stream) : stream_(stream) {}

    void list(const RecordSets& all) override { write_document(all, stream_); }
    void show(const RecordSets& sets) override { write_document(sets, stream_); }
    void merged(const Merged& merged) override { write_merged(merged, stream_); }

    void comparison(const Comparison& comparison) override {
        Json json = document("texprobe-comparison");
        json["equal"] = comparison.is_equal();
        json["pairs"] = Json::array();
        for (const ComparedSets& pair : comparison.pairs) {
            json["pairs"].push_back({{"a", identification(pair.a)},
                                     {"b", identification(pair.b)},
                                     {"differences", differences_of(pair)}});
        }
        json["only_a"] = identifications(comparison.onlyA);
        json["only_b"] = identifications(comparison.onlyB);
        write(json);
    }

    void diagnosis(const Diagnosis& diagnosis) override {
        Json json = document("texprobe-diagnosis");
        json["version"] = diagnosis.version;
        json["system"] = diagnosis.system;
        json["system_build"] = diagnosis.systemBuild;
        json["tool"] = diagnosis.tool.empty() ? Json(nullptr) : Json(diagnosis.tool);
        json["displays"] = diagnosis.displays;
        json["trouble"] = diagnosis.trouble;
        json["renderers"] = Json::array();
        for (const auto& renderer : diagnosis.renderers) {
            json["renderers"].push_back(renderer_of(renderer));
        }
        json["store"] = store_of(diagnosis.store);
        json["record_sets"] = diagnosis.recordSets;
        json["measuring_process"] =
            diagnosis.measuring == 0 ? Json(nullptr) : Json(diagnosis.measuring);
        json["variables"] = Json::array();
        for (const auto& [name, value] : diagnosis.variables) {
            json["variables"].push_back({{"name", name}, {"value", value}});
        }
        write(json);
    }

private:
    void write(const Json& json) {
        stream_ << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
    }

    std::ostream& stream_;
};

}  // namespace

std::unique_ptr<Output> make_json_output(std::ostream& stream) {
    return std::make_unique<JsonOutput>(stream);
}

}  // namespace texprobe::ctl
