// The pieces of the page as HTML, in which no text is markup.

#ifndef TEXPROBECTL_PAGE_SECTION_H
#define TEXPROBECTL_PAGE_SECTION_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace texprobe::ctl {

/// Text for HTML, also within quotes.
std::string escaped(std::string_view text);

/// Something in a cell; `kind` is a class of the style, and `link` the ID of an explanation.
struct PagePart {
    std::string kind;
    std::string text;
    std::string link = {};
};
using PageCell = std::vector<PagePart>;

struct PageTable {
    std::string caption;
    std::vector<std::string> columns;
    /// With their names. The last cell of a short one goes on to the end.
    std::vector<std::pair<std::string, std::vector<PageCell>>> rows;
};

/// A section, filled from its top to its end.
class PageSection {
public:
    using Pairs = std::vector<std::pair<std::string, std::string>>;

    PageSection(std::string id, const std::string& heading);

    void subheading(const std::string& text);
    /// Cells may link to it by its ID.
    void paragraph(const std::string& text, const std::string& id = "");
    void list(const std::vector<std::string>& lines);
    /// Terms and their explanations.
    void terms(const Pairs& pairs);
    void table(const PageTable& table);
    /// PNG files with their names.
    void pictures(const std::string& caption, const Pairs& files);

    /// For the list of the sections.
    std::string link() const;
    std::string html() const;

private:
    std::string id_;
    std::string heading_;
    std::string html_;
};

}  // namespace texprobe::ctl

#endif
