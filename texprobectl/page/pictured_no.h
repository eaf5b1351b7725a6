// The noes of a record set, each with its inspection's sentence, and pictures where the driver
// is to blame.

#ifndef TEXPROBECTL_PICTURED_NO_H
#define TEXPROBECTL_PICTURED_NO_H

#include <functional>
#include <optional>
#include <string>

#include "inspect/pictures.h"
#include "records/catalogue.h"
#include "records/machine.h"

namespace texprobe::ctl {

struct PicturedNo {
    std::string sentence;
    /// None where no pixels came back, or the right ones.
    std::optional<Pictures> pictures;
};

struct PicturedNoes {
    /// Why this machine cannot inspect the set; empty if it can.
    std::string trouble;
    /// None for a test that was not inspected.
    CellTable<std::optional<PicturedNo>> noes;
};

/// Inspects each of them. `all` are this machine's sets; `begin` is told of each before it begins.
PicturedNoes picture_noes(const std::string& self, const RecordSet& set, const RecordSets& all,
                          const Machine& machine, const std::function<void(const Cell&)>& begin);

}  // namespace texprobe::ctl

#endif
