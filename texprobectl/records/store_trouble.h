// Whether the user's records can be read: a store that is not there has none, one that cannot be
// read may have any.

#ifndef TEXPROBECTL_STORE_TROUBLE_H
#define TEXPROBECTL_STORE_TROUBLE_H

#include <functional>
#include <string>

namespace texprobe::ctl {

/// Calls `read`, which reads preferences, and returns which file could not be read and why; empty
/// when all of it could. A file of each system's says how it finds out.
std::string trouble_of_store(const std::function<void()>& read);

}  // namespace texprobe::ctl

#endif
