#include "uses/uses.h"

#include "pixels/compressed_blocks.h"
#include "uses/transfer_uses.h"

namespace texprobe::survey {

namespace {

/// How a use is tried, and the query of the driver's own promise; 0 for none.
struct UseRow {
    Finding (*find)(const Work& work);
    Enum query;
};

// In the order of kUses, as far as the transfers.
constexpr UseRow kUseRows[] = {{create, 0},
                               {create_storage, 0},
                               {filter, gl::kFilterQuery},
                               {generate_mipmap, gl::kManualGenerateMipmap},
                               {render, gl::kFramebufferRenderable},
                               {blend, gl::kFramebufferBlend}};

const UseRow& row_of(Use use) {
    return kUseRows[static_cast<std::size_t>(use)];
}

std::string who_promises_here(const Work& work, const Question& question) {
    const ContextFacts& facts = work.context.facts;
    std::string documents = who_promises(facts, work.format, question);
    if (!documents.empty() || is_transfer(question.use)) return documents;
    const bool canAsk =
        facts.is_desktop(43) || (facts.is_desktop(0) && facts.has("GL_ARB_internalformat_query2"));
    const Enum query = row_of(question.use).query;
    if (!canAsk || query == 0) return documents;
    int support = 0;
    work.gl().GetInternalformativ(gl::kTexture2D, work.format.value, query, 1, &support);
    take_errors(work.gl());
    return support == static_cast<int>(gl::kFullSupport) ? "the driver's own query" : "";
}

bool is_yes(const FormatRecord& record, Use use) {
    const auto found = record.uses.find(use);
    return found != record.uses.end() && found->second.verdict == Verdict::kYes;
}

Finding find(const Work& work, const Question& question, const FormatRecord& record) {
    if (!is_transfer(question.use)) return row_of(question.use).find(work);
    if (work.format.is_compressed()) {
        return upload_blocks(work, question.use, is_yes(record, Use::kCreateStorage));
    }
    return question.use < Use::kRead ? upload_texels(work, question) : read_texels(work, question);
}

std::vector<unsigned char> plain_bytes(const Format& format, const TexelImage& image) {
    return format.is_compressed() ? blocks_of(format, block_colors(format, image))
                                  : bytes_of(format, plain_layout(format), image);
}

}  // namespace

Work::Work(const SurveyContext& on, const Judge& by, const Format& of)
    : context(on), judge(by), format(of), samples(std::make_shared<TransferSamples>()) {}

Answer answer(const Work& work, const Question& question, const FormatRecord& record) {
    const Use use = question.use;
    if (use != Use::kCreate && use != Use::kCreateStorage) {
        const Use needed = use == Use::kUploadPartStorage ? Use::kCreateStorage : Use::kCreate;
        if (!is_yes(record, Use::kCreate) || !is_yes(record, needed)) {
            return {{Verdict::kNotApplicable, ""}, {}};
        }
        if (!work.judge.trouble().empty()) {
            return {{Verdict::kUnknown, work.judge.trouble()}, work.judge.errors()};
        }
    }
    Finding finding = find(work, question, record);
    // The use's own errors are in the finding; these are the judge's.
    const Errors late = take_errors(work.gl());
    if (!late.empty() && finding.kind == Finding::Kind::kOtherPixels) {
        finding = with_errors(cannot_tell("looking at the pixels gives "), late);
    }
    if (is_from_outside(finding.errors)) finding.kind = Finding::Kind::kCannotTell;
    const bool isOfPixels =
        finding.kind == Finding::Kind::kHolds || finding.kind == Finding::Kind::kOtherPixels;
    if (seenTexels && !isOfPixels) *seenTexels = {};
    Answer answer = {judge(finding, who_promises_here(work, question)), finding.errors};
    answer.errors.insert(late.begin(), late.end());
    return answer;
}

std::string difference_from(const Format& format, const TexelImage& expected,
                            const TexelImage& came) {
    return first_mismatch(
        format, came, [&](int x, int y) { return as_sampled(format, expected.at(x, y)); },
        [&](std::size_t c, const Texel& texel, const Texel& here, int, int) {
            return std::abs(texel[c] - here[c]) <= tolerance(format, c, texel);
        });
}

std::optional<Finding> upload(const Work& work, const Texture& texture, const TexelImage& image,
                              TexelImage* arrived) {
    const Format& format = work.format;
    texture.bind();
    define_texture(work.gl(), format, image.width, image.height, plain_bytes(format, image).data());
    const Errors errors = take_errors(work.gl());
    if (!errors.empty()) {
        return with_errors(cannot_tell("nothing can be sent to the texture: "), errors);
    }
    *arrived = work.judge.look(texture, format, 0, image.width, image.height);
    const std::string difference = difference_from(format, image, *arrived);
    if (difference.empty()) return std::nullopt;
    return cannot_tell("what was sent did not arrive in the texture: " + difference);
}

}  // namespace texprobe::survey
