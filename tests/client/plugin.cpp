// A plugin whose global object runs code while the plugin is being loaded.

extern "C" void texprobe_on_plugin_load();

namespace {

struct Global {
    Global() { texprobe_on_plugin_load(); }
};
const Global global;

}  // namespace
