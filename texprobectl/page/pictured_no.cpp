#include "page/pictured_no.h"

#include "inspect/inspect.h"

namespace texprobe::ctl {

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
        const Inspection inspection = inspect({self, cell}, {set, all, machine});
        PicturedNo& no = pictured.noes[cell].emplace();
        no.sentence = inspection.sentence;
        if (inspection.analysis && !inspection.is_of_test()) {
            no.pictures = draw_pictures(*inspection.evidence);
        }
    });
    return pictured;
}

}  // namespace texprobe::ctl
