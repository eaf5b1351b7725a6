#include "page/page_section.h"

#include <fmt/format.h>

#include <cstdint>

namespace texprobe::ctl {

namespace {

std::string base64(std::string_view bytes) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t group = 0;
        for (std::size_t j = i; j < i + 3; ++j) {
            group = group << 8 | (j < bytes.size() ? static_cast<std::uint8_t>(bytes[j]) : 0U);
        }
        for (std::size_t digit = 0; digit < 4; ++digit) {
            const bool isThere = i + digit <= bytes.size();
            text += isThere ? kDigits[(group >> (18 - 6 * digit)) & 63] : '=';
        }
    }
    return text;
}

/// A narrow screen may break a name after an underscore.
std::string breakable(const std::string& name) {
    std::string html;
    for (const char c : escaped(name)) {
        html += c;
        if (c == '_') html += "<wbr>";
    }
    return html;
}

/// An element of that kind.
std::string part_html(const char* element, const PagePart& part, const std::string& attribute) {
    std::string text = breakable(part.text);
    if (!part.link.empty()) text = fmt::format("<a href=\"#{}\">{}</a>", part.link, text);
    const std::string kind = part.kind.empty() ? "" : " class=\"" + part.kind + '"';
    return fmt::format("<{0}{1}{2}>{3}</{0}>", element, kind, attribute, text);
}

std::string row_html(const std::vector<PageCell>& cells, std::size_t columns) {
    std::string html;
    for (const PageCell& cell : cells) {
        std::string span;
        if (&cell == &cells.back() && cells.size() < columns) {
            span = fmt::format(" colspan=\"{}\"", columns + 1 - cells.size());
        }
        if (cell.size() == 1) {
            html += part_html("td", cell.front(), span);
            continue;
        }
        html += "<td>";
        for (const PagePart& part : cell) html += part_html("span", part, "");
        html += "</td>";
    }
    return html;
}

}  // namespace

std::string escaped(std::string_view text) {
    std::string html;
    for (const char c : text) {
        html += c == '&'   ? "&amp;"
                : c == '<' ? "&lt;"
                : c == '>' ? "&gt;"
                : c == '"' ? "&quot;"
                           : std::string(1, c);
    }
    return html;
}

PageSection::PageSection(std::string id, const std::string& heading)
    : id_(std::move(id)), heading_(escaped(heading)) {}

void PageSection::subheading(const std::string& text) {
    html_ += "<h3>" + escaped(text) + "</h3>\n";
}

void PageSection::paragraph(const std::string& text, const std::string& id) {
    const std::string target = id.empty() ? "" : " class=\"why\" id=\"" + id + '"';
    html_ += "<p" + target + '>' + escaped(text) + "</p>\n";
}

void PageSection::list(const std::vector<std::string>& lines) {
    if (lines.empty()) return;
    html_ += "<ul>\n";
    for (const std::string& line : lines) html_ += "<li>" + escaped(line) + "</li>\n";
    html_ += "</ul>\n";
}

void PageSection::terms(const Pairs& pairs) {
    html_ += "<dl>\n";
    for (const auto& [term, text] : pairs) {
        html_ += fmt::format("<dt>{}</dt><dd>{}</dd>\n", escaped(term), escaped(text));
    }
    html_ += "</dl>\n";
}

void PageSection::table(const PageTable& table) {
    const std::string caption = escaped(table.caption);
    html_ += fmt::format(
        "<div class=\"table\" role=\"region\" aria-label=\"{0}: {1}\" tabindex=\"0\">\n"
        "<table>\n<caption>{1}</caption>\n<thead><tr>",
        heading_, caption);
    for (const std::string& column : table.columns) {
        html_ += "<th scope=\"col\">" + escaped(column) + "</th>";
    }
    html_ += "</tr></thead>\n<tbody>\n";
    for (const auto& [name, cells] : table.rows) {
        html_ += "<tr><th scope=\"row\">" + breakable(name) + "</th>" +
                 row_html(cells, table.columns.size() - 1) + "</tr>\n";
    }
    html_ += "</tbody>\n</table>\n</div>\n";
}

void PageSection::pictures(const std::string& caption, const Pairs& files) {
    html_ += "<figure>\n";
    for (const auto& [name, png] : files) {
        html_ += fmt::format(
            "<div><img src=\"data:image/png;base64,{0}\" width=\"256\" height=\"256\" "
            "alt=\"{1}: {2}\">{2}</div>\n",
            base64(png), escaped(caption), escaped(name));
    }
    html_ += "<figcaption>" + escaped(caption) + "</figcaption>\n</figure>\n";
}

std::string PageSection::link() const {
    return fmt::format("<li><a href=\"#{}\">{}</a></li>\n", id_, heading_);
}

std::string PageSection::html() const {
    return fmt::format(
        "<section aria-labelledby=\"{0}\">\n<h2 id=\"{0}\">{1}</h2>\n{2}</section>\n", id_,
        heading_, html_);
}

}  // namespace texprobe::ctl
