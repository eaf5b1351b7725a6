#include "table/layout_table.h"

#include <algorithm>
#include <cstring>

namespace texprobe::survey {

namespace {

constexpr unsigned kRed = 0x1903, kRg = 0x8227, kRgb = 0x1907, kRgba = 0x1908, kBgr = 0x80E0,
                   kBgra = 0x80E1, kRedInteger = 0x8D94, kRgInteger = 0x8228, kRgbInteger = 0x8D98,
                   kRgbaInteger = 0x8D99, kLuminance = 0x1909, kLuminanceAlpha = 0x190A,
                   kDepthComponent = 0x1902, kDepthStencil = 0x84F9;

constexpr LayoutFormat kLayoutFormats[] = {{"GL_RED", kRed, "0"},
                                           {"GL_RG", kRg, "01"},
                                           {"GL_RGB", kRgb, "012"},
                                           {"GL_RGBA", kRgba, "0123"},
                                           {"GL_BGR", kBgr, "210"},
                                           {"GL_BGRA", kBgra, "2103"},
                                           {"GL_RED_INTEGER", kRedInteger, "0"},
                                           {"GL_RG_INTEGER", kRgInteger, "01"},
                                           {"GL_RGB_INTEGER", kRgbInteger, "012"},
                                           {"GL_RGBA_INTEGER", kRgbaInteger, "0123"},
                                           {"GL_LUMINANCE", kLuminance, "0"},
                                           {"GL_LUMINANCE_ALPHA", kLuminanceAlpha, "03"},
                                           {"GL_DEPTH_COMPONENT", kDepthComponent, "0"},
                                           {"GL_DEPTH_STENCIL", kDepthStencil, "0"}};

constexpr unsigned kByte = 0x1400, kUnsignedByte = 0x1401, kShort = 0x1402, kUnsignedShort = 0x1403,
                   kInt = 0x1404, kUnsignedInt = 0x1405, kFloat = 0x1406, kHalf = 0x140B,
                   k4444 = 0x8033, k5551 = 0x8034, k565 = 0x8363, k8888Rev = 0x8367,
                   k2101010Rev = 0x8368, k248 = 0x84FA, k101111Rev = 0x8C3B, k5999Rev = 0x8C3E,
                   kFloat248Rev = 0x8DAD;

constexpr LayoutType kLayoutTypes[] = {
    {"GL_BYTE", kByte, 1},
    {"GL_UNSIGNED_BYTE", kUnsignedByte, 1},
    {"GL_SHORT", kShort, 2},
    {"GL_UNSIGNED_SHORT", kUnsignedShort, 2},
    {"GL_INT", kInt, 4},
    {"GL_UNSIGNED_INT", kUnsignedInt, 4},
    {"GL_FLOAT", kFloat, 4},
    {"GL_HALF_FLOAT", kHalf, 2},
    {"GL_UNSIGNED_SHORT_4_4_4_4", k4444, 2, {4, 4, 4, 4}},
    {"GL_UNSIGNED_SHORT_5_5_5_1", k5551, 2, {5, 5, 5, 1}},
    {"GL_UNSIGNED_SHORT_5_6_5", k565, 2, {5, 6, 5, 0}},
    {"GL_UNSIGNED_INT_8_8_8_8_REV", k8888Rev, 4, {8, 8, 8, 8}, true},
    {"GL_UNSIGNED_INT_2_10_10_10_REV", k2101010Rev, 4, {10, 10, 10, 2}, true},
    {"GL_UNSIGNED_INT_24_8", k248, 4, {24, 8, 0, 0}},
    {"GL_UNSIGNED_INT_10F_11F_11F_REV", k101111Rev, 4, {11, 11, 10, 0}, true},
    {"GL_UNSIGNED_INT_5_9_9_9_REV", k5999Rev, 4, {9, 9, 9, 5}, true},
    // The second word has the stencil.
    {"GL_FLOAT_32_UNSIGNED_INT_24_8_REV", kFloat248Rev, 8}};

int count_components(const Format& format) {
    return static_cast<int>(4 - std::count(format.bits.begin(), format.bits.end(), 0));
}

/// The components as the format has them.
unsigned own_format(const Format& format) {
    constexpr unsigned kColors[] = {kRed, kRg, kRgb, kRgba};
    constexpr unsigned kIntegers[] = {kRedInteger, kRgInteger, kRgbInteger, kRgbaInteger};
    if (format.base == Base::kLuminance) return format.has(3) ? kLuminanceAlpha : kLuminance;
    if (format.base == Base::kDepth) return kDepthComponent;
    if (format.base == Base::kDepthStencil) return kDepthStencil;
    if (format.value == kBgra8) return kBgra;
    return (format.is_integer() ? kIntegers : kColors)[count_components(format) - 1];
}

/// Those of OpenGL ES 3.0.6, table 3.2, and of GL_EXT_texture_norm16, whose components are the
/// format's; first the one of its own precision. Desktop OpenGL has the same.
std::vector<unsigned> own_types(const Format& format) {
    const int bits = format.bits[0];
    const std::size_t size = bits <= 8 ? 0 : bits <= 16 ? 1 : 2;
    const bool isUnorm = format.kind == Kind::kUnorm;
    if (format.base == Base::kDepthStencil) return {isUnorm ? k248 : kFloat248Rev};
    if (format.base == Base::kDepth && isUnorm) {
        return bits == 16 ? std::vector<unsigned>{kUnsignedShort, kUnsignedInt}
                          : std::vector<unsigned>{kUnsignedInt};
    }
    switch (format.kind) {
        case Kind::kFloat:
            return bits == 16 ? std::vector<unsigned>{kHalf, kFloat}
                              : std::vector<unsigned>{kFloat};
        case Kind::kUfloat:
            return {k101111Rev, kHalf, kFloat};
        case Kind::kSharedExponent:
            return {k5999Rev, kHalf, kFloat};
        case Kind::kSnorm:
        case Kind::kInt:
            return {std::array{kByte, kShort, kInt}[size]};
        default:
            break;
    }
    if (bits == 10) return {k2101010Rev};
    if (bits == 4) return {k4444, kUnsignedByte};
    if (bits == 5 && format.has(3)) return {k5551, kUnsignedByte, k2101010Rev};
    if (bits == 5) return {k565, kUnsignedByte};
    return {std::array{kUnsignedByte, kUnsignedShort, kUnsignedInt}[size]};
}

/// Desktop applications send these besides: blue first, of colors with eight bits and more.
std::vector<Layout> blue_first_layouts(const Format& format) {
    const bool isNormalized = format.kind == Kind::kUnorm || format.kind == Kind::kSrgb;
    if (!isNormalized || format.base != Base::kColor || format.value == kBgra8) return {};
    if (!format.has(2) || format.bits[0] < 8) return {};
    const unsigned type = own_types(format).front();
    if (!format.has(3)) return {{kBgr, type}};
    if (format.bits[0] == 8) return {{kBgra, type}, {kBgra, k8888Rev}};
    return {{kBgra, type}};
}

/// The one that glReadPixels of OpenGL ES always has, or would have if the format could be
/// rendered to.
Layout es_read_layout(const Format& format) {
    switch (format.kind) {
        case Kind::kUint:
            return {kRgbaInteger, kUnsignedInt};
        case Kind::kInt:
            return {kRgbaInteger, kInt};
        case Kind::kUnorm:
        case Kind::kSrgb:
            return {kRgba, format.bits[0] == 16 ? kUnsignedShort : kUnsignedByte};
        case Kind::kSnorm:
            return {kRgba, format.bits[0] == 16 ? kShort : kByte};
        default:
            return {kRgba, kFloat};
    }
}

struct LayoutsOfFormat {
    std::vector<Layout> all;
    std::size_t sent;  ///< So many of them, the others are for reading in OpenGL ES.
};

LayoutsOfFormat make_layouts(const Format& format) {
    if (format.is_compressed()) return {{}, 0};
    std::vector<Layout> layouts;
    for (const unsigned type : own_types(format)) layouts.push_back({own_format(format), type});
    for (const Layout& layout : blue_first_layouts(format)) layouts.push_back(layout);
    const std::size_t sent = layouts.size();
    const Layout read = es_read_layout(format);
    const bool isNew = std::find(layouts.begin(), layouts.end(), read) == layouts.end();
    if (isNew && format.base == Base::kColor) layouts.push_back(read);
    return {std::move(layouts), sent};
}

const LayoutsOfFormat& known_layouts(const Format& format) {
    static const std::vector<LayoutsOfFormat> kLayouts = [] {
        std::vector<LayoutsOfFormat> layouts;
        for (const Format& each : formats()) layouts.push_back(make_layouts(each));
        return layouts;
    }();
    return kLayouts[static_cast<std::size_t>(&format - formats().data())];
}

bool is_sent(const Format& format, const Layout& layout) {
    const LayoutsOfFormat& layouts = known_layouts(format);
    const auto end = layouts.all.begin() + static_cast<std::ptrdiff_t>(layouts.sent);
    return std::find(layouts.all.begin(), end, layout) != end;
}

bool is_eight_bit_color(const Format& format) {
    return format.kind == Kind::kUnorm && format.bits == std::array<int, 4>{8, 8, 8, 8};
}

bool is_read_in_es(const Format& format, const Layout& layout) {
    if (format.base != Base::kColor) return false;
    if (layout == Layout{kBgra, kUnsignedByte}) return is_eight_bit_color(format);
    return layout == es_read_layout(format) || layout.format == own_format(format);
}

bool is_read(Use use) {
    return use == Use::kRead || use == Use::kReadPart || use == Use::kReadBuffer;
}

/// Which way texels travel.
enum class Way : unsigned char { kSent, kRead, kGot };

constexpr std::array<Way, 3> kWays = {Way::kSent, Way::kRead, Way::kGot};

Way way_of(Use transfer) {
    if (is_read(transfer)) return Way::kRead;
    const bool isGot = transfer == Use::kGet || transfer == Use::kGetBuffer;
    return isGot ? Way::kGot : Way::kSent;
}

bool has_way(const Format& format, const Layout& layout, Way way, Profile profile) {
    if (format.base == Base::kLuminance && profile != Profile::kCompatibility) return false;
    if (profile != Profile::kEs) return is_sent(format, layout);
    if (way == Way::kGot) return false;
    if (way == Way::kRead) return is_read_in_es(format, layout);
    return layout.format == own_format(format) && is_sent(format, layout);
}

/// Reading a complete framebuffer. Desktop OpenGL converts it to every layout, but no
/// document says what luminance is there. In OpenGL ES two layouts are always allowed of RGB10_A2,
/// and one of others (OpenGL ES 3.2, section 16.1.2); extensions and the driver's own query promise
/// more.
std::string who_promises_read(const ContextFacts& facts, const Format& format,
                              const Layout& layout) {
    if (format.base == Base::kLuminance) return "";
    if (facts.profile != Profile::kEs) return who_promises(facts, "gl3.0");
    if (layout == Layout{kBgra, kUnsignedByte}) {
        return who_promises(facts, "GL_EXT_read_format_bgra");
    }
    const bool isRgb10A2 = format.kind == Kind::kUnorm && format.bits[0] == 10;
    const bool isAllowed =
        layout == es_read_layout(format) || (isRgb10A2 && layout == Layout{kRgba, k2101010Rev});
    if (!isAllowed || format.kind == Kind::kSnorm) return "";
    const bool isFixed = format.kind == Kind::kUnorm || format.kind == Kind::kSrgb;
    if (isFixed && format.bits[0] == 16) return who_promises(facts, "GL_EXT_texture_norm16");
    if (isFixed || format.is_integer()) return who_promises(facts, "es3.0");
    return who_promises(facts, "es3.2 GL_EXT_color_buffer_float GL_EXT_color_buffer_half_float");
}

}  // namespace

const std::vector<Layout>& layouts_of(const Format& format) {
    return known_layouts(format).all;
}

bool has_question(const Format& format, const Question& question, Profile profile) {
    const auto& [use, layout] = question;
    if (layout.is_none()) return has_use(format, use);
    return is_transfer(use) && has_way(format, layout, way_of(use), profile);
}

std::vector<Question> questions_of(const Format& format, Profile profile) {
    std::vector<Question> questions;
    std::vector<Layout> layouts = layouts_of(format);
    layouts.insert(layouts.begin(), Layout{});
    for (const Layout& layout : layouts) {
        for (const Use use : kUses) {
            if (has_question(format, {use, layout}, profile)) questions.push_back({use, layout});
        }
    }
    return questions;
}

std::size_t count_questions(const Format& format, Profile profile) {
    std::size_t all = 0;
    std::array<std::size_t, kWays.size()> uses = {};
    for (const Use use : kUses) {
        if (has_use(format, use)) ++all;
        if (is_transfer(use)) ++uses[static_cast<std::size_t>(way_of(use))];
    }
    for (const Layout& layout : layouts_of(format)) {
        for (const Way way : kWays) {
            if (has_way(format, layout, way, profile)) all += uses[static_cast<std::size_t>(way)];
        }
    }
    return all;
}

std::string who_promises(const ContextFacts& facts, const Format& format,
                         const Question& question) {
    const auto& [use, layout] = question;
    if (!is_transfer(use)) return who_promises(facts, format, use);
    if (use == Use::kUploadPartStorage) return who_promises(facts, format, Use::kCreateStorage);
    if (is_read(use)) return who_promises_read(facts, format, layout);
    return who_promises(facts, format, Use::kCreate);
}

std::string name_of(const Layout& layout) {
    return std::string(format_of(layout).name) + ' ' + type_of(layout).name;
}

std::string name_of(const Question& question) {
    const std::string use = name_of(question.use);
    return question.layout.is_none() ? use : use + ' ' + name_of(question.layout);
}

std::optional<Layout> find_layout(std::string_view format, std::string_view type) {
    const auto isNamed = [](std::string_view name) {
        return [name](const auto& row) { return name == row.name; };
    };
    const auto* ofFormat =
        std::find_if(std::begin(kLayoutFormats), std::end(kLayoutFormats), isNamed(format));
    const auto* ofType =
        std::find_if(std::begin(kLayoutTypes), std::end(kLayoutTypes), isNamed(type));
    if (ofFormat == std::end(kLayoutFormats) || ofType == std::end(kLayoutTypes)) {
        return std::nullopt;
    }
    return Layout{ofFormat->value, ofType->value};
}

const LayoutFormat& format_of(const Layout& layout) {
    return *std::find_if(std::begin(kLayoutFormats), std::end(kLayoutFormats) - 1,
                         [&](const LayoutFormat& row) { return row.value == layout.format; });
}

const LayoutType& type_of(const Layout& layout) {
    return *std::find_if(std::begin(kLayoutTypes), std::end(kLayoutTypes) - 1,
                         [&](const LayoutType& row) { return row.value == layout.type; });
}

}  // namespace texprobe::survey
