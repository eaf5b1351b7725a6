#include "commands/require_hardware.h"

#include <iostream>
#include <string>
#include <vector>

#include "records/plain_text.h"
#include "records/software.h"
#include "text/text_matrix.h"

namespace texprobe::ctl {

int require_hardware(const RecordSets& sets) {
    std::vector<NamedRenderer> renderers;
    for (const RecordSet& set : sets) {
        renderers.push_back({renderer_name(plain(set)), set.isSoftware});
    }
    const std::string trouble = trouble_without_hardware(renderers);
    if (trouble.empty()) return 0;
    std::cerr << "texprobectl: " << trouble << '\n';
    return 1;
}

}  // namespace texprobe::ctl
