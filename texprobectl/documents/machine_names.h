// The machines that something is true of: how many there are, and the first of their names. What is
// kept does not grow with their number, and is the same in whatever order they come.

#ifndef TEXPROBECTL_MACHINE_NAMES_H
#define TEXPROBECTL_MACHINE_NAMES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace texprobe::ctl {

using Count = std::uint64_t;
/// More than there are computers, and far below the overflow of a sum.
inline constexpr Count kMostMachines = 1'000'000'000'000;

class MachineNames {
public:
    /// As many as a person looks at.
    static constexpr std::size_t kMost = 20;

    /// `document` is the number of the machine's document: what it says twice counts once.
    void add(const std::string& name, std::size_t document);
    /// `count` machines, of which these are some.
    void add(Count count, const std::vector<std::string>& names);

    Count count() const { return count_; }
    /// Sorted, and at most kMost: the first.
    const std::vector<std::string>& names() const { return names_; }

private:
    void keep(const std::string& name);

    Count count_ = 0;
    /// 0 before the first.
    std::size_t lastDocument_ = 0;
    std::vector<std::string> names_;
};

}  // namespace texprobe::ctl

#endif
