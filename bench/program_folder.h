// Folders for programs that keep records beside themselves.

#ifndef TEXPROBE_BENCH_PROGRAM_FOLDER_H
#define TEXPROBE_BENCH_PROGRAM_FOLDER_H

#include <filesystem>
#include <string>
#include <vector>

namespace texprobe::bench {

/// A folder of its own with copies of programs and the records that they write.
class ProgramFolder {
public:
    ProgramFolder(const std::filesystem::path& parent,
                  const std::vector<std::filesystem::path>& programs)
        : folder_(parent / ("texprobe_bench." + std::to_string(counter_++))) {
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directories(folder_);
        for (const auto& program : programs) {
            std::filesystem::copy_file(program, folder_ / program.filename());
        }
    }
    ~ProgramFolder() { std::filesystem::remove_all(folder_); }
    ProgramFolder(const ProgramFolder&) = delete;
    ProgramFolder& operator=(const ProgramFolder&) = delete;

    std::string operator/(const std::string& name) const { return folder_ / name; }
    void remove_records() const { std::filesystem::remove_all(folder_ / "records"); }

private:
    static inline int counter_ = 0;
    std::filesystem::path folder_;
};

}  // namespace texprobe::bench

#endif
