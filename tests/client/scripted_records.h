// The one renderer of the scripted machine, and the strings under which its records are found.

#ifndef TEXPROBE_TESTS_SCRIPTED_RECORDS_H
#define TEXPROBE_TESTS_SCRIPTED_RECORDS_H

namespace texprobe::tests {

constexpr int kScriptedRendererID = 0xff;
constexpr char kScriptedApplication[] = "org.texprobe.texprobe2.ff.22G120";
constexpr char kScriptedVendor[] = "Vendor";
constexpr char kScriptedVersion[] = "2.1 Version";
constexpr char kScriptedRenderer[] = "Renderer";

}  // namespace texprobe::tests

#endif
