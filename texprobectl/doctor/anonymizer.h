// Takes the names of users and hosts out of a text.

#ifndef TEXPROBECTL_ANONYMIZER_H
#define TEXPROBECTL_ANONYMIZER_H

#include <string>
#include <vector>

namespace texprobe::ctl {

/// The names of people and of this machine.
struct Names {
    /// As the system tells it, with or without a domain.
    std::string host;
    std::vector<std::string> users;
    /// Of the user who asks.
    std::vector<std::string> homes;
    std::vector<std::string> homesOfOthers;
};

Names names_of_system();

/// The homes become "~" and "~USER", whatever follows "/home/" or "/Users/" and the users'
/// names "USER", the host with its domain "HOST". A name counts where no letter or digit is next to
/// it: too much is replaced rather than too little.
std::string without_names(std::string text, const Names& names);

/// The value of DISPLAY with HOST for the machine that it names; a display of this one stays.
std::string without_host_of_display(const std::string& display);

}  // namespace texprobe::ctl

#endif
