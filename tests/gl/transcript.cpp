#include "transcript.h"

#include <regex>
#include <sstream>
#include <stdexcept>

#include "support/formats.h"

namespace texprobe::tests {

namespace {

class Reader {
public:
    explicit Reader(const std::string& text) : stream_(without_process_ids(text)) { advance(); }

    bool done() const { return done_; }
    const std::string& line() const { return line_; }

    /// The text after `prefix`, with which the current line must begin; moves on to the next line.
    std::string after(const std::string& prefix) {
        if (done_ || line_.compare(0, prefix.size(), prefix) != 0) fail(prefix);
        std::string rest = line_.substr(prefix.size());
        advance();
        return rest;
    }

    bool flag(const std::string& prefix, const std::string& yes, const std::string& no) {
        const std::string value = after(prefix);
        if (value != yes && value != no) throw std::runtime_error(prefix + " has value " + value);
        return value == yes;
    }

    void whole(const std::string& line) {
        if (!after(line).empty()) throw std::runtime_error("more than: " + line);
    }

    bool score(std::vector<std::string>& scores) {
        static const std::regex pattern(
            R"(test_check_data score: [-+.e0-9]+% \(dist: [0-9]+ size: 268435456\) match: ([01]))");
        std::smatch match;
        if (done_ || !std::regex_match(line_, match, pattern)) fail("a score line");
        scores.push_back(line_);
        const bool matches = match[1] == "1";
        advance();
        return matches;
    }

private:
    [[noreturn]] void fail(const std::string& expected) const {
        throw std::runtime_error("expected: " + expected +
                                 "\ninstead: " + (done_ ? "the end" : line_));
    }
    void advance() { done_ = !std::getline(stream_, line_); }

    std::istringstream stream_;
    std::string line_;
    bool done_ = false;
};

void read_format(Reader& reader, const std::string& format, Transcript& transcript) {
    const std::string head = transcript.application + "[PID] " + format + " ";
    const auto verdict = [&](const char* label, const char* key) {
        return transcript.verdicts[format + key] = reader.flag(head + label, "1", "0");
    };
    const auto transfer = [&](const char* label, const char* key) {
        const bool tested = transcript.hasPBO;
        const bool match = tested && reader.score(transcript.scores);
        if (verdict(label, key) != match)
            throw std::runtime_error(head + label + "not the score's");
    };
    if (!verdict("supported: ", "_SUPPORTED")) return;
    const bool renderable = verdict("renderable: ", "_RENDERABLE");
    reader.whole("Testing UPLOAD SET...");
    transfer("upload SET: ", "_UPLOAD_SET");
    reader.whole("Testing UPLOAD RESET...");
    transfer("upload RESET: ", "_UPLOAD_RESET");
    if (!renderable) return;
    transfer("download GET: ", "_DOWNLOAD_GET");
    transfer("download READ: ", "_DOWNLOAD_READ");
}

Transcript read_transcript(Reader& reader, bool measured) {
    Transcript transcript;
    transcript.application = reader.line().substr(0, reader.line().find('['));
    const std::string head = transcript.application + "[PID] ";
    reader.after(head + "testing renderer: ");
    transcript.upToDate = reader.line().find("UP TO DATE") != std::string::npos;
    reader.whole(head +
                 (transcript.upToDate ? "UP TO DATE (version: 0.21 >= 0.21)" : "VERSION: 0.21"));
    transcript.hasFBO =
        reader.flag(head + "GL_EXT_framebuffer_object : ", "SUPPORTED", "UNSUPPORTED");
    transcript.hasPBO =
        reader.flag(head + "GL_ARB_pixel_buffer_object : ", "SUPPORTED", "UNSUPPORTED");
    if (measured) {
        for (const Format& format : kFormats) read_format(reader, format.name, transcript);
    }
    transcript.vendor = reader.after(head + "GL_VENDOR: ");
    transcript.version = reader.after(head + "GL_VERSION: ");
    return transcript;
}

}  // namespace

std::string without_process_ids(const std::string& text) {
    static const std::regex pattern(R"((^|\n)([^\n\[]*)\[[0-9]+\])");
    return std::regex_replace(text, pattern, "$1$2[PID]");
}

std::vector<Transcript> read_transcripts(const std::string& err, bool measured) {
    std::vector<Transcript> transcripts;
    for (Reader reader(err); !reader.done();) {
        transcripts.push_back(read_transcript(reader, measured));
    }
    return transcripts;
}

}  // namespace texprobe::tests
