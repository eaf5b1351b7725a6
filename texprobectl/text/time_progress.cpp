#include "text/time_progress.h"

#include <fmt/format.h>

#include "records/plain_text.h"
#include "text/status_line.h"

namespace texprobe::ctl {

namespace {

std::string name_of(const TimedTransfer& what) {
    return fmt::format("{} {} at {}", kFormats[what.format].name,
                       kCapabilities[what.transfer].words, what.size.name());
}

class PrintedTimeProgress : public TimeProgressView {
public:
    PrintedTimeProgress(std::ostream& stream, const Terminal& terminal)
        : stream_(stream), isTerminal_(terminal.isTerminal), line_(stream, terminal) {}

    void begun(const TimedTransfer& what, std::size_t done, std::size_t all) override {
        if (!isTerminal_) return;
        line_.draw(fmt::format("{}{}/{}  {}", draw_bar(done, all, 20), done, all, name_of(what)));
    }
    void failed(const TransferTimes& transfer) override {
        finish();
        stream_ << name_of(transfer.what) << ": " << plain(transfer.reason) << std::endl;
    }
    void finish() override { line_.erase(); }

private:
    std::ostream& stream_;
    const bool isTerminal_;
    StatusLine line_;
};

}  // namespace

std::unique_ptr<TimeProgressView> make_time_progress_view(std::ostream& stream,
                                                          const Terminal& terminal) {
    return std::make_unique<PrintedTimeProgress>(stream, terminal);
}

}  // namespace texprobe::ctl
