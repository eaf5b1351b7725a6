// Record sets that tests write down, and their documents.

#ifndef TEXPROBE_TESTS_WRITTEN_SETS_H
#define TEXPROBE_TESTS_WRITTEN_SETS_H

#include <iostream>
#include <sstream>
#include <string>

#include "documents/document.h"
#include "documents/write_json.h"

namespace texprobe::tests {

/// A complete set, in which everything is a yes.
inline ctl::RecordSet working_set(const std::string& renderer = "abcd1234",
                                  const std::string& build = "build-9") {
    ctl::RecordSet set;
    set.id = ctl::make_id(renderer, build);
    set.rendererID = renderer;
    set.systemBuild = build;
    set.version = 0.21;
    set.vendor = "Mesa";
    set.glVersion = "1.0";
    set.renderer = "a renderer";
    set.isComplete = true;
    return set;
}

inline std::size_t survey_format(const char* name) {
    return static_cast<std::size_t>(survey::find_format(name) - survey::formats().data());
}

constexpr survey::Layout kBgraBytes = {0x80E1, 0x1401};

/// A survey of verdicts, texts, what is unmeasured, and a profile without a context.
inline ctl::Survey written_survey() {
    ctl::SurveyedProfile core;
    core.profile = survey::Profile::kCore;
    core.glVersion = "4.6 \"core\"";
    auto& uses = core.formats[survey_format("GL_RGBA8")].uses;
    uses[survey::Use::kCreate] = {survey::Verdict::kYes, ""};
    uses[survey::Use::kFilter] = {survey::Verdict::kWrong, "expected (1, 0), came (0, 1)"};
    uses[survey::Use::kRender] = {survey::Verdict::kCrashed, "ended by SIGSEGV"};
    uses[{survey::Use::kUpload, kBgraBytes}] = {survey::Verdict::kWrong, "red is blue"};
    uses[{survey::Use::kGet, kBgraBytes}] = {survey::Verdict::kYes, ""};
    core.formats[survey_format("GL_R8UI")].uses[survey::Use::kRender] = {survey::Verdict::kUnknown,
                                                                         "why"};
    ctl::SurveyedProfile es;
    es.profile = survey::Profile::kEs;
    es.lack = "not_offered";
    return {core, es};
}

inline std::string document_of(const ctl::RecordSets& sets) {
    std::ostringstream text;
    ctl::write_records_json(sets, text);
    return text.str();
}

/// The standard input of this process, which "-" names.
class StandardInput {
public:
    explicit StandardInput(const std::string& text)
        : input_(text), old_(std::cin.rdbuf(input_.rdbuf())) {}
    ~StandardInput() { std::cin.rdbuf(old_); }
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;

private:
    std::istringstream input_;
    std::streambuf* const old_;
};

/// Has something of all that a document may have.
inline ctl::RecordSet full_set() {
    ctl::RecordSet set = working_set();
    set.measured = "2026-11-21T19:56:43Z";
    set.verdicts[6][kUploadSet] = ctl::Verdict::kNo;
    set.details = {{{6, kUploadSet}, ctl::Seen{ctl::Seen::Whose::kTest}},
                   {{7, kUploadSet}, ctl::Crashed{"SIGSEGV"}},
                   {{7, kUploadReset}, ctl::Exited{3}},
                   {{7, kDownloadGet}, ctl::Hung{60}}};
    set.verdicts[7][kUploadSet] = set.verdicts[7][kUploadReset] = ctl::Verdict::kCrashed;
    set.verdicts[7][kDownloadGet] = ctl::Verdict::kHung;
    set.survey = written_survey();
    return set;
}

inline const std::string& full_document() {
    static const std::string text = document_of({full_set(), working_set("ff")});
    return text;
}

/// The full document with the first `old` after the first `after` replaced.
inline std::string changed(const std::string& old, const std::string& now, const char* after = "") {
    std::string text = full_document();
    const std::size_t at = text.find(old, text.find(after));
    return at == std::string::npos ? "there is no " + old : text.replace(at, old.size(), now);
}

inline ctl::RecordSets read_text(const std::string& text) {
    const StandardInput input(text);
    return ctl::read_documents({"-"});
}

/// What is said of it behind the file's name.
inline std::string complaint(const std::string& text) {
    try {
        read_text(text);
    } catch (const ctl::DocumentError& error) {
        return std::string(error.what()).substr(std::string("standard input").size());
    }
    return "none";
}

}  // namespace texprobe::tests

#endif
