#include "uses/uses.h"

namespace texprobe::survey {

namespace {

/// How a use is tried, and the query of the driver's own promise; 0 for none.
struct UseRow {
    Finding (*find)(const Work& work);
    Enum query;
};

// In the order of kUses.
constexpr UseRow kUseRows[] = {{create, 0},
                               {create_storage, 0},
                               {filter, gl::kFilterQuery},
                               {generate_mipmap, gl::kManualGenerateMipmap},
                               {render, gl::kFramebufferRenderable},
                               {blend, gl::kFramebufferBlend}};

std::string who_promises_here(const Work& work, Use use, Enum query) {
    const ContextFacts& facts = work.context.facts;
    std::string documents = who_promises(facts, work.format, use);
    const bool canAsk =
        facts.is_desktop(43) || (facts.is_desktop(0) && facts.has("GL_ARB_internalformat_query2"));
    if (!documents.empty() || !canAsk || query == 0) return documents;
    int support = 0;
    work.gl().GetInternalformativ(gl::kTexture2D, work.format.value, query, 1, &support);
    take_errors(work.gl());
    return support == static_cast<int>(gl::kFullSupport) ? "the driver's own query" : "";
}

}  // namespace

Judged survey_use(const Work& work, Use use, const FormatRecord& record) {
    if (use != Use::kCreate && use != Use::kCreateStorage) {
        const auto created = record.uses.find(Use::kCreate);
        if (created == record.uses.end() || created->second.verdict != Verdict::kYes) {
            return {Verdict::kNotApplicable, ""};
        }
        if (!work.judge.trouble().empty()) return {Verdict::kUnknown, work.judge.trouble()};
    }
    const UseRow& row = kUseRows[static_cast<std::size_t>(use)];
    Finding finding = row.find(work);
    // Errors of what was tried are in the finding; these are the judge's.
    const std::string late = take_errors(work.gl());
    if (!late.empty() && finding.kind == Finding::Kind::kOtherPixels) {
        finding = cannot_tell("looking at the pixels gives " + late);
    }
    if (is_from_outside(finding.text)) finding.kind = Finding::Kind::kCannotTell;
    return judge(finding, who_promises_here(work, use, row.query));
}

bool is_context_lost(const Judged& judged) {
    return judged.text.find("GL_CONTEXT_LOST") != std::string::npos;
}

std::string difference_from(const Format& format, const TexelImage& expected,
                            const TexelImage& came) {
    return first_difference(
        format, came, [&](int x, int y) { return as_sampled(format, expected.at(x, y)); },
        [&](std::size_t c, const Texel& texel, int, int) { return tolerance(format, c, texel); });
}

std::optional<Finding> upload(const Work& work, const Texture& texture, const TexelImage& image,
                              TexelImage* arrived) {
    const Format& format = work.format;
    texture.bind();
    define_texture(work.gl(), format, image.width, image.height,
                   bytes_of(format, plain_layout(format), image).data());
    const std::string errors = take_errors(work.gl());
    if (!errors.empty()) return cannot_tell("nothing can be sent to the texture: " + errors);
    *arrived = work.judge.look(texture, format, 0, image.width, image.height);
    const std::string difference = difference_from(format, image, *arrived);
    if (difference.empty()) return std::nullopt;
    return cannot_tell("what was sent did not arrive in the texture: " + difference);
}

}  // namespace texprobe::survey
