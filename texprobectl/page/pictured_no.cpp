#include "page/pictured_no.h"

#include <algorithm>

#include "inspect/inspect.h"

namespace texprobe::ctl {

const PicturedNo* PicturedNoes::find(const Cell& cell) const {
    const auto found = std::find_if(noes.begin(), noes.end(),
                                    [&](const PicturedNo& no) { return no.cell == cell; });
    return found == noes.end() ? nullptr : &*found;
}

PicturedNoes picture_noes(const std::string& self, const RecordSet& set, const RecordSets& all,
                          const Machine& machine, const std::function<void(const Cell&)>& begin) {
    PicturedNoes pictured;
    // The software renderer of another machine has the same ID as this one's, but another build.
    if (!machine.lists(set.rendererID) || set.systemBuild != machine.systemBuild) {
        pictured.trouble =
            "This set cannot be inspected here: this machine does not have this "
            "renderer under this build.";
        return pictured;
    }
    for_each_cell([&](const Cell& cell) {
        if (!is_failure(set.verdict(cell))) return;
        begin(cell);
        InspectOptions options;
        options.self = self;
        options.cell = cell;
        const Inspection inspection = inspect(options, {set, all, machine});
        PicturedNo no = {cell, inspection.sentence, std::nullopt};
        if (inspection.analysis && !inspection.is_of_test())
            no.pictures = draw_pictures(*inspection.evidence);
        pictured.noes.push_back(std::move(no));
    });
    return pictured;
}

}  // namespace texprobe::ctl
