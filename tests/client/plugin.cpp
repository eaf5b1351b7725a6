// A plugin whose global object does something while the plugin is being loaded.

extern "C" void texprobe_on_plugin_load();

namespace {

struct Global {
    Global() { texprobe_on_plugin_load(); }
};
const Global global;

}  // namespace
