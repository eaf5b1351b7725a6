// Measuring and timing as they are watched. On a terminal: a bar, drawn over and over. Elsewhere:
// one line for each renderer that is measured.

#ifndef TEXPROBECTL_PROGRESS_H
#define TEXPROBECTL_PROGRESS_H

#include <ostream>
#include <set>

#include "measure/measure.h"
#include "process/terminal.h"

namespace texprobe::ctl {

/// The one line that shows how far something is; the last one is erased.
class StatusLine {
public:
    StatusLine(std::ostream& stream, const Terminal& terminal)
        : stream_(stream), terminal_(terminal) {}
    ~StatusLine() { erase(); }
    StatusLine(const StatusLine&) = delete;
    StatusLine& operator=(const StatusLine&) = delete;

    void draw(const std::string& text);
    /// Erases it, and says something that stays.
    void say(const std::string& text);
    void erase();

private:
    std::ostream& stream_;
    const Terminal terminal_;
    std::string line_;
};

class MeasureView : public MeasureWatcher {
public:
    MeasureView(std::ostream& stream, const Terminal& terminal)
        : terminal_(terminal), line_(stream, terminal) {}

    void progress(const MeasureProgress& progress) override;
    void died(const std::string& rendererID, const std::string& test, const Cause& cause) override;
    void waits_for(int process) override;
    bool end_leftover(int process) override;
    void left_behind(int process) override;
    bool is_interrupted() override;
    void finish();

private:
    const Terminal terminal_;
    StatusLine line_;
    std::set<int> waitedFor_;
    /// Of the renderer in hand.
    MeasureProgress last_;
    int deaths_ = 0;
};

/// "[####....] ", so many signs wide.
std::string draw_bar(std::size_t done, std::size_t all, std::size_t width = 20);

}  // namespace texprobe::ctl

#endif
