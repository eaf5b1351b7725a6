// Messages about the records: one line at a time, on standard error unless a thread keeps its own.

#ifndef TEXPROBE_PLATFORM_MESSAGES_H
#define TEXPROBE_PLATFORM_MESSAGES_H

#include <string>
#include <vector>

namespace texprobe::platform {

/// Prints one line, even of a path with line breaks; or keeps it, where this thread does.
void say(std::string line);

/// From now on this thread's lines are added to `place`; null: printed. Returns the former place.
std::vector<std::string>* keep_messages(std::vector<std::string>* place);

bool are_messages_kept();

}  // namespace texprobe::platform

#endif
