// All record sets of this user, as the preferences hold them now.

#ifndef TEXPROBECTL_CATALOGUE_H
#define TEXPROBECTL_CATALOGUE_H

#include <optional>
#include <string>
#include <vector>

#include "records/machine.h"
#include "records/record_set.h"

namespace texprobe::ctl {

/// Those of the present build first, in the order of this machine's renderers; then by identifier.
/// Where the system does not list applications: those of this machine's renderers.
RecordSets read_record_sets(const Machine& machine);

/// The same, for a caller who needs all of them. Throws std::runtime_error, one line, when the
/// store cannot be read.
RecordSets read_all_record_sets(const Machine& machine);

/// One set; none without any record of its own or a survey.
std::optional<RecordSet> read_record_set(const std::string& id, const Machine& machine);

/// The shortest text that names this set among all of them: the renderer ID, or it and the build.
std::string short_id(const RecordSet& set, const RecordSets& all);

/// The set of the same renderer that was measured before this one, under another build.
const RecordSet* find_predecessor(const RecordSet& set, const RecordSets& all);

}  // namespace texprobe::ctl

#endif
