#include "fault_rows.h"

#include <cctype>
#include <chrono>
#include <filesystem>
#include <fstream>

namespace texprobe::tests {

namespace {

std::string file_name(const std::string& fault, const std::string& part) {
    std::string name = fault + "." + part;
    for (char& c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '.') c = '_';
    }
    return name + ".row";
}

}  // namespace

bool FaultCount::add(const std::function<bool()>& losesNothing) {
    const auto begin = std::chrono::steady_clock::now();
    const bool isGood = losesNothing();
    ++cases;
    lostVerdicts += !isGood;
    hangs += std::chrono::steady_clock::now() - begin > std::chrono::seconds(10);
    return isGood;
}

void write_fault_row(const std::string& fault, const std::string& part, const FaultCount& count) {
    const std::filesystem::path folder = FAULT_ROWS;
    std::filesystem::create_directories(folder);
    std::ofstream(folder / file_name(fault, part))
        << fault << '\t' << count.cases << '\t' << count.lostVerdicts << '\t' << count.hangs
        << '\n';
}

}  // namespace texprobe::tests
