#include "uses/uses.h"

namespace texprobe::survey {

namespace {

Finding run_use(const Work& work, Use use) {
    switch (use) {
        case Use::kCreate:
            return create(work);
        case Use::kCreateStorage:
            return create_storage(work);
        case Use::kFilter:
            return filter(work);
        case Use::kMipmap:
            return generate_mipmap(work);
        case Use::kRender:
            return render(work);
        case Use::kBlend:
            return blend(work);
    }
    return cannot_tell("no such use");
}

/// The query of the driver's own promise; 0 for none.
Enum query_of(Use use) {
    switch (use) {
        case Use::kFilter:
            return gl::kFilterQuery;
        case Use::kMipmap:
            return gl::kManualGenerateMipmap;
        case Use::kRender:
            return gl::kFramebufferRenderable;
        case Use::kBlend:
            return gl::kFramebufferBlend;
        default:
            return 0;
    }
}

std::string who_promises_here(const Work& work, Use use) {
    const ContextFacts& facts = work.context.facts;
    std::string documents = who_promises(facts, work.format, use);
    const bool canAsk =
        facts.is_desktop(43) || (facts.is_desktop(0) && facts.has("GL_ARB_internalformat_query2"));
    if (!documents.empty() || !canAsk || query_of(use) == 0) return documents;
    int support = 0;
    work.gl().GetInternalformativ(gl::kTexture2D, work.format.value, query_of(use), 1, &support);
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
    Finding finding = run_use(work, use);
    take_errors(work.gl());
    if (is_from_outside(finding.text)) finding.kind = Finding::Kind::kCannotTell;
    return judge(finding, who_promises_here(work, use));
}

bool is_context_lost(const Judged& judged) {
    return judged.text.find("GL_CONTEXT_LOST") != std::string::npos;
}

void define(const Work& work, int width, int height, const void* pixels) {
    const Layout layout = plain_layout(work.format);
    // GL_BGRA8_EXT is for storage only.
    const Enum internalFormat = work.format.value == kBgra8 ? gl::kBgra : work.format.value;
    work.gl().TexImage2D(gl::kTexture2D, 0, static_cast<int>(internalFormat), width, height, 0,
                         layout.format, layout.type, pixels);
}

std::optional<Finding> upload(const Work& work, const Texture& texture, const Image& image,
                              Image* arrived) {
    const Format& format = work.format;
    texture.bind();
    define(work, image.width, image.height, bytes_of(format, plain_layout(format), image).data());
    const std::string errors = take_errors(work.gl());
    if (!errors.empty()) return cannot_tell("nothing can be sent to the texture: " + errors);
    *arrived = work.judge.look(texture, numbers_of(format), 0, image.width, image.height);
    const Image expected = make_image(image.width, image.height, [&](int x, int y) {
        return as_sampled(format, image.at(x, y));
    });
    const std::string difference = first_difference(
        format, expected, *arrived,
        [&](std::size_t c, int x, int y) { return tolerance(format, c, expected.at(x, y)); });
    if (difference.empty()) return std::nullopt;
    return cannot_tell("what was sent did not arrive in the texture: " + difference);
}

Enum attachment_of(const Format& format) {
    if (format.base == Base::kDepth) return gl::kDepthAttachment;
    if (format.base == Base::kDepthStencil) return gl::kDepthStencilAttachment;
    return gl::kColorAttachment;
}

Finding incomplete(Enum status) {
    constexpr Enum kAttachment = 0x8CD6, kMissing = 0x8CD7, kUnsupported = 0x8CDD;
    const std::string why = status == kUnsupported  ? "unsupported"
                            : status == kAttachment ? "incomplete attachment"
                            : status == kMissing    ? "missing attachment"
                                                    : "status " + std::to_string(status);
    return refused("the framebuffer is incomplete (" + why + ")");
}

}  // namespace texprobe::survey
