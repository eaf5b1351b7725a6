#include "messages.h"

#include <cstdio>
#include <utility>

namespace texprobe::platform {

namespace {

thread_local std::vector<std::string>* placeOfThread = nullptr;

}  // namespace

void say(std::string line) {
    for (char& c : line) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
    }
    line.insert(0, "*** texprobe records: ");
    if (placeOfThread) {
        placeOfThread->push_back(std::move(line));
    } else {
        std::fputs((line + "\n").c_str(), stderr);
    }
}

std::vector<std::string>* keep_messages(std::vector<std::string>* place) {
    return std::exchange(placeOfThread, place);
}

bool are_messages_kept() {
    return placeOfThread != nullptr;
}

}  // namespace texprobe::platform
