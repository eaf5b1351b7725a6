// Whether to run a program once more that records as it goes, and continues where the last run
// ended.

#ifndef TEXPROBE_ATTEMPTS_H
#define TEXPROBE_ATTEMPTS_H

namespace texprobe {

namespace {

class Attempts {
public:
    /// At most so many runs, and at most so many in a row that record nothing.
    Attempts(int most, int mostInVain) : most_(most), mostInVain_(mostInVain) {}

    void begin_run() { ++runs_; }
    void end_run(bool hasRecorded) { inVain_ = hasRecorded ? 0 : inVain_ + 1; }

    int runs() const { return runs_; }
    bool are_used_up() const { return runs_ == most_; }
    bool are_in_vain() const { return inVain_ == mostInVain_; }

private:
    const int most_;
    const int mostInVain_;
    int runs_ = 0;
    int inVain_ = 0;
};

}  // namespace

}  // namespace texprobe

#endif
