// Records as the tool leaves them, for renderers that need not exist.

#ifndef TEXPROBE_BENCH_RECORD_SETS_H
#define TEXPROBE_BENCH_RECORD_SETS_H

#include <string>

namespace texprobe::bench {

/// The strings by which an application's context is found.
struct Identification {
    std::string vendor;
    std::string version;
    std::string renderer;
};

/// Adds `count` complete record sets to the records beside this executable, for renderers with IDs
/// from `firstID` up.
void add_record_sets(int count, int firstID, const Identification& identification);

/// Changes one record in a set of its own and synchronizes.
void synchronize_one_record();

/// The folder of this executable.
std::string folder_of_executable();

}  // namespace texprobe::bench

#endif
