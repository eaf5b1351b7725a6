// Options that several commands share.

#ifndef TEXPROBECTL_COMMAND_OPTIONS_H
#define TEXPROBECTL_COMMAND_OPTIONS_H

#include <CLI/CLI.hpp>
#include <string>

namespace texprobe::ctl {

inline constexpr const char* kSet = "an identifier, a part of it, or a number of `list`";

inline CLI::Validator number_between(int least, int most) {
    return CLI::Validator(
        [=](const std::string& text) {
            int number = 0;
            if (CLI::detail::lexical_cast(text, number) && number >= least && number <= most) {
                return std::string();
            }
            return "expected a number from " + std::to_string(least) + " to " +
                   std::to_string(most) + ", not \"" + text + '"';
        },
        "");
}

}  // namespace texprobe::ctl

#endif
