#include "table/promises.h"

#include <sstream>

namespace texprobe::survey {

namespace {

bool begins_with(const std::string& text, const char* word) {
    return text.rfind(word, 0) == 0;
}

/// "3.2" as 32.
int number_of(const std::string& version) {
    return (version[0] - '0') * 10 + (version[2] - '0');
}

std::string who_promises_word(const ContextFacts& facts, const std::string& word) {
    const bool isCompatibility = facts.profile == Profile::kCompatibility;
    const std::size_t plus = word.find('+');
    if (plus != std::string::npos) {
        const std::string first = who_promises_word(facts, word.substr(0, plus));
        const std::string second = who_promises_word(facts, word.substr(plus + 1));
        return first.empty() || second.empty() ? "" : first + " with " + second;
    }
    if (begins_with(word, "GL_")) return facts.has(word.c_str()) ? word : "";
    if (begins_with(word, "compat:")) {
        return isCompatibility ? who_promises_word(facts, word.substr(7)) : "";
    }
    if (begins_with(word, "compat")) {
        return isCompatibility ? who_promises_word(facts, "gl" + word.substr(6)) : "";
    }
    const std::string version = word.substr(2);
    const bool isDesktop = begins_with(word, "gl");
    const bool promises =
        isDesktop ? facts.is_desktop(number_of(version)) : facts.is_es(number_of(version));
    if (!promises) return "";
    return (isDesktop ? "OpenGL " : "OpenGL ES ") + version;
}

std::string who_promises_storage(const ContextFacts& facts, const Format& format) {
    std::string storage = who_promises(facts, "gl4.2 es3.0 GL_ARB_texture_storage");
    if (format.value == kBgra8) storage = who_promises(facts, "GL_EXT_texture_storage");
    const std::string itself = who_promises(facts, format.promises->create);
    return itself.empty() ? itself : storage;
}

/// OpenGL ES generates mipmaps of formats that its own table both filters and renders to;
/// desktop OpenGL of all colors that it filters. No document says so of depth.
std::string who_promises_mipmap(const ContextFacts& facts, const Format& format) {
    if (format.is_depth()) return "";
    const std::string render = who_promises(facts, format.promises->render);
    // This extension is one to OpenGL ES 2 as well, and does not say that it changes the table.
    const bool isInTable = !render.empty() && render != "GL_EXT_color_buffer_half_float";
    if (facts.profile == Profile::kEs && !isInTable) return "";
    return who_promises(facts, format.promises->filter);
}

}  // namespace

const char* name_of(Profile profile) {
    static constexpr const char* kNames[] = {"compatibility", "core", "es"};
    return kNames[static_cast<std::size_t>(profile)];
}

std::string who_promises(const ContextFacts& facts, const char* words) {
    std::istringstream stream(words);
    for (std::string word; stream >> word;) {
        std::string promise = who_promises_word(facts, word);
        if (!promise.empty()) return promise;
    }
    return "";
}

std::string who_promises(const ContextFacts& facts, const Format& format, Use use) {
    if (use == Use::kCreateStorage) return who_promises_storage(facts, format);
    if (use == Use::kMipmap) return who_promises_mipmap(facts, format);
    const Promises& promises = *format.promises;
    return who_promises(facts, use == Use::kCreate   ? promises.create
                               : use == Use::kFilter ? promises.filter
                               : use == Use::kRender ? promises.render
                                                     : promises.blend);
}

}  // namespace texprobe::survey
