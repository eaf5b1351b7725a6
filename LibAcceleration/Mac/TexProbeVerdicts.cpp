// The functions of TexProbeVerdicts.h. The private parts are included, so that nothing but the
// functions has external linkage.

#include "TexProbeVerdicts.h"

#include <cstddef>
#include <exception>
#include <optional>

#include "records/formats.h"
#include "verdicts/open_verdicts.h"

struct texprobe_verdicts : texprobe::OpenVerdicts {
    using OpenVerdicts::OpenVerdicts;
};

texprobe_verdicts* texprobe_verdicts_open(const texprobe_options* options) {
    try {
        return new texprobe_verdicts(options);
    } catch (const std::exception&) {
        return nullptr;
    }
}

texprobe_state texprobe_verdicts_wait(texprobe_verdicts* verdicts, int milliseconds) {
    if (!verdicts) return TEXPROBE_FAILED;
    const bool canChange = verdicts->are_of_this_process();
    return milliseconds != 0 && canChange ? verdicts->outcome().wait(milliseconds)
                                          : verdicts->outcome().state();
}

double texprobe_verdicts_progress(const texprobe_verdicts* verdicts) {
    return verdicts ? verdicts->outcome().progress() : 0.0;
}

const char* texprobe_verdicts_reason(const texprobe_verdicts* verdicts) {
    return verdicts ? verdicts->outcome().reason() : "out of memory";
}

namespace {

/// Of a format by its value; past the last one if it is none of the sixteen.
std::size_t index_of_format(unsigned internalFormat) {
    std::size_t i = 0;
    while (i < texprobe::kFormatCount && texprobe::kFormats[i].internalFormat != internalFormat) {
        ++i;
    }
    return i;
}

/// Null if there is nothing to answer the question from.
const texprobe::KnownAnswers* answers_to(const texprobe_verdicts* verdicts,
                                         texprobe_capability capability, std::size_t format) {
    const bool isKnown = static_cast<std::size_t>(capability) < texprobe::kCapabilityCount &&
                         format < texprobe::kFormatCount;
    return verdicts && isKnown ? verdicts->outcome().answers() : nullptr;
}

// The survey's uses are counted as applications count them.
static_assert(static_cast<int>(texprobe::survey::Use::kUpload) == TEXPROBE_UPLOAD &&
              static_cast<int>(texprobe::survey::Use::kGetBuffer) == TEXPROBE_GET_BUFFER);

std::optional<texprobe::survey::Verdict> verdict_on_use(const texprobe_verdicts* verdicts,
                                                        unsigned internalFormat,
                                                        texprobe::survey::Layout layout,
                                                        texprobe_use use) {
    const texprobe::KnownAnswers* answers = verdicts ? verdicts->outcome().answers() : nullptr;
    const bool isKnown = static_cast<std::size_t>(use) < texprobe::survey::kUses.size();
    if (!answers || !isKnown) return std::nullopt;
    return answers->verdict({internalFormat, {static_cast<texprobe::survey::Use>(use), layout}});
}

}  // namespace

texprobe_answer texprobe_verdicts_answer(const texprobe_verdicts* verdicts,
                                         unsigned internal_format, texprobe_capability capability) {
    const std::size_t format = index_of_format(internal_format);
    const auto* answers = answers_to(verdicts, capability, format);
    return answers ? answers->answer(format, capability) : TEXPROBE_UNKNOWN;
}

texprobe_detail texprobe_verdicts_detail(const texprobe_verdicts* verdicts,
                                         unsigned internal_format, texprobe_capability capability) {
    const std::size_t format = index_of_format(internal_format);
    const auto* answers = answers_to(verdicts, capability, format);
    return answers ? answers->detail(format, capability) : TEXPROBE_NO_DETAIL;
}

texprobe_answer texprobe_verdicts_use(const texprobe_verdicts* verdicts, unsigned internal_format,
                                      unsigned format, unsigned type, texprobe_use use) {
    return texprobe::answer_of(verdict_on_use(verdicts, internal_format, {format, type}, use));
}

texprobe_detail texprobe_verdicts_use_detail(const texprobe_verdicts* verdicts,
                                             unsigned internal_format, unsigned format,
                                             unsigned type, texprobe_use use) {
    return texprobe::detail_of(verdict_on_use(verdicts, internal_format, {format, type}, use));
}

int texprobe_verdicts_upload_layout(const texprobe_verdicts* verdicts, unsigned internal_format,
                                    unsigned* format, unsigned* type) {
    const texprobe::KnownAnswers* answers = verdicts ? verdicts->outcome().answers() : nullptr;
    const auto layout = answers ? answers->upload_layout(internal_format) : std::nullopt;
    if (!layout) return 0;
    *format = layout->format;
    *type = layout->type;
    return 1;
}

int texprobe_version(void) {
    return TEXPROBE_VERSION;
}

void texprobe_verdicts_close(texprobe_verdicts* verdicts) {
    if (!verdicts || !verdicts->are_of_this_process()) return;
    verdicts->end();
    delete verdicts;
}

namespace {

/// As applications count them; null past the last one.
const texprobe::Format* format_at(std::size_t index) {
    if (index >= texprobe::kFormatCount) return nullptr;
    return &texprobe::kFormats[texprobe::kOrderOfApplications[index]];
}

}  // namespace

size_t texprobe_format_count(void) {
    return texprobe::kFormatCount;
}

const char* texprobe_format_name(size_t index) {
    const texprobe::Format* format = format_at(index);
    return format ? format->name : nullptr;
}

unsigned texprobe_format_value(size_t index) {
    const texprobe::Format* format = format_at(index);
    return format ? format->internalFormat : 0;
}
