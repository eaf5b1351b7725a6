// Why something is a no: each sentence once, with all places of which it is said.

#ifndef TEXPROBECTL_WHYS_H
#define TEXPROBECTL_WHYS_H

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "inspect/pictures.h"
#include "page/page_section.h"

namespace texprobe::ctl {

class Whys {
public:
    enum Kind { kOfTool, kBrokenPromise, kNoPromise };
    /// Of the no. Places that differ in one of these only are told together.
    enum Where { kUse, kFormat, kLayout, kContext, kDriver, kWhereCount };
    using Place = std::array<std::string, kWhereCount>;

    /// The ID of the explanation.
    std::string add(Kind kind, const std::string& sentence, const Place& place);
    /// Of the last one that was added.
    void show(const std::string& name, const Pictures& pictures);

    bool empty() const { return whys_.empty(); }
    PageSection section() const;

private:
    struct Why {
        Kind kind;
        std::string sentence;
        std::vector<Place> places;
        std::vector<std::pair<std::string, Pictures>> pictures = {};
    };
    static void write(const Why& why, const std::string& id, PageSection* section);

    std::vector<Why> whys_;
    std::size_t last_ = 0;
};

}  // namespace texprobe::ctl

#endif
