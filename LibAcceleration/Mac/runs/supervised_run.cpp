#include "runs/supervised_run.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <utility>

// POSIX leaves the declaration to its users; some systems make it nevertheless.
extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace texprobe {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kLookEvery{100};
/// A killed process goes at once, unless the kernel waits for a device on its behalf.
constexpr milliseconds kKillPatience{5000};
constexpr std::size_t kLongestLine = 65536;
constexpr int kFirstInherited = 3;

/// How long something has lasted, counted in looks: of a pause between two of them no more counts
/// than a look. A stopped process, a frozen container or a sleeping machine pauses the program too,
/// and then its time has not passed.
class CountedTime {
public:
    void begin() {
        passed_ = steady_clock::duration::zero();
        lastLook_ = steady_clock::now();
    }
    /// To be called at each look.
    bool has_lasted(milliseconds limit) {
        const auto now = steady_clock::now();
        passed_ += std::min<steady_clock::duration>(now - lastLook_, kLookEvery);
        lastLook_ = now;
        return passed_ >= limit;
    }

private:
    steady_clock::duration passed_ = steady_clock::duration::zero();
    steady_clock::time_point lastLook_ = steady_clock::now();
};

/// Closed in other programs from the beginning, where the system can: another thread may start one
/// at any time. A template, since only that may name a missing function.
template <class Ends>
int make_pipe(Ends ends) {
    if constexpr (requires { pipe2(ends, O_CLOEXEC); }) {
        return pipe2(ends, O_CLOEXEC);
    } else {
        return pipe(ends);
    }
}

/// A descriptor that is closed at the end. Never one of 0 to 2, even where the caller has closed
/// those: a program's own streams are made from it.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int low) : number_(fcntl(low, F_DUPFD_CLOEXEC, kFirstInherited)) {
        error_ = number_ < 0 ? errno : 0;
        ::close(low);
    }
    ~Descriptor() { close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor(Descriptor&& other) noexcept { *this = std::move(other); }
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        std::swap(error_, other.error_);
        return *this;
    }

    int number() const { return number_; }
    int error() const { return error_; }
    bool is_open() const { return number_ >= 0; }
    void close() {
        if (is_open()) ::close(number_);
        number_ = -1;
    }

private:
    int number_ = -1;
    int error_ = 0;
};

/// One of the program's two streams: a pipe, and the part of a line that has come.
class ProgramOutput {
public:
    explicit ProgramOutput(Stream stream) : stream_(stream) {}

    /// 0, or the error.
    int open() {
        int ends[2];
        if (make_pipe(static_cast<int*>(ends)) != 0) return errno;
        read_ = Descriptor(ends[0]);
        write_ = Descriptor(ends[1]);
        if (read_.error() != 0) return read_.error();
        if (write_.error() != 0) return write_.error();
        return fcntl(read_.number(), F_SETFL, O_NONBLOCK) == 0 ? 0 : errno;
    }

    int written_by_program() const { return write_.number(); }
    void leave_to_program() { write_.close(); }
    int number() const { return read_.number(); }
    bool is_open() const { return read_.is_open(); }

    /// Hands over the lines that have come. True when one of them ended a step.
    bool read(RunObserver& observer) {
        bool endsStep = false;
        std::array<char, 4096> bytes;
        // A program that never stops writing must not keep the caller from looking.
        for (int chunks = 0; is_open() && chunks < 16; ++chunks) {
            const ssize_t count = ::read(read_.number(), bytes.data(), bytes.size());
            if (count < 0 && errno == EINTR) continue;
            if (count < 0 && errno == EAGAIN) break;
            if (count <= 0) {
                read_.close();
                break;
            }
            endsStep |= take({bytes.data(), static_cast<std::size_t>(count)}, observer);
        }
        return endsStep;
    }

    void finish(RunObserver& observer) {
        if (!line_.empty()) observer.line(stream_, line_);
        line_.clear();
        read_.close();
    }

private:
    bool take(std::string_view text, RunObserver& observer) {
        bool endsStep = false;
        for (const char c : text) {
            if (c != '\n') line_ += c;
            if (c != '\n' && line_.size() < kLongestLine) continue;
            endsStep |= observer.line(stream_, line_);
            line_.clear();
        }
        return endsStep;
    }

    const Stream stream_;
    Descriptor read_;
    Descriptor write_;
    std::string line_;
};

/// The arguments of posix_spawn, given back at the end.
class SpawnPlan {
public:
    SpawnPlan() {
        posix_spawn_file_actions_init(&actions_);
        posix_spawnattr_init(&attributes_);
    }
    ~SpawnPlan() {
        posix_spawn_file_actions_destroy(&actions_);
        posix_spawnattr_destroy(&attributes_);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;

    /// 0, or the error.
    int spawn(const Program& program, const ProgramOutput& output, const ProgramOutput& error,
              pid_t* process) {
        posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&actions_, output.written_by_program(), STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions_, error.written_by_program(), STDERR_FILENO);
        short flags = POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
        flags = static_cast<short>(flags | close_others(&actions_));
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setsigdefault(&attributes_, &all);
        posix_spawnattr_setpgroup(&attributes_, 0);
        posix_spawnattr_setflags(&attributes_, flags);

        std::vector<char*> words = pointers_to(program.arguments);
        words.insert(words.begin(), const_cast<char*>(program.path.c_str()));
        std::vector<char*> variables;
        if (program.environment) variables = pointers_to(*program.environment);
        return posix_spawn(process, program.path.c_str(), &actions_, &attributes_, words.data(),
                           program.environment ? variables.data() : environ);
    }

private:
    /// As the system wants them: not const, and followed by a null.
    static std::vector<char*> pointers_to(const std::vector<std::string>& texts) {
        std::vector<char*> pointers;
        pointers.reserve(texts.size() + 1);
        for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
        pointers.push_back(nullptr);
        return pointers;
    }

    /// Has every descriptor from 3 on closed in the program, in the way that the system offers;
    /// the flags that this takes. A template, since only that may name a missing function.
    template <class Actions>
    static int close_others(Actions* actions) {
        if constexpr (requires { posix_spawn_file_actions_addclosefrom_np(actions, 3); }) {
            posix_spawn_file_actions_addclosefrom_np(actions, kFirstInherited);
            return 0;
        } else {
#ifdef POSIX_SPAWN_CLOEXEC_DEFAULT
            return POSIX_SPAWN_CLOEXEC_DEFAULT;
#else
            if (DIR* folder = opendir("/dev/fd")) {
                // cppcheck-suppress readdirCalled
                while (const dirent* entry = readdir(folder)) {
                    const int number = std::atoi(entry->d_name);
                    if (number < kFirstInherited || number == dirfd(folder)) continue;
                    posix_spawn_file_actions_addclose(actions, number);
                }
                closedir(folder);
            }
            return 0;
#endif
        }
    }

    posix_spawn_file_actions_t actions_;
    posix_spawnattr_t attributes_;
};

/// The process, from its start until its status has been taken.
class Process {
public:
    explicit Process(pid_t id) : id_(id) {}

    /// Has it ended? It is not reaped yet, so that its number, and its group's, stay its own.
    bool has_ended() {
        siginfo_t info = {};
        while (waitid(P_PID, static_cast<id_t>(id_), &info, WEXITED | WNOHANG | WNOWAIT) != 0) {
            if (errno == EINTR) continue;
            isReapedByOthers_ = true;
            return true;
        }
        return info.si_pid == id_;
    }

    void signal_group(int number) const { kill(-id_, number); }

    /// Of a process that has ended: ends the rest of its group and takes the status. Where other
    /// code has reaped the process, its number is still its group's only as long as the group has
    /// members, which an open pipe shows.
    RunEnd reap(bool isPipeOpen) {
        if (!isReapedByOthers_ || isPipeOpen) signal_group(SIGKILL);
        int status = 0;
        pid_t reaped = -1;
        while (!isReapedByOthers_ && (reaped = waitpid(id_, &status, 0)) < 0 && errno == EINTR) {
        }
        if (reaped != id_) return {RunEnd::Kind::kUnknown};
        if (WIFSIGNALED(status)) return {RunEnd::Kind::kSignalled, WTERMSIG(status)};
        return {RunEnd::Kind::kExited, WEXITSTATUS(status)};
    }

private:
    const pid_t id_;
    bool isReapedByOthers_ = false;
};

class Supervision {
public:
    Supervision(const Program& program, RunObserver& observer)
        : program_(program), observer_(observer) {}

    RunEnd run() {
        int error = output_.open();
        if (error == 0) error = error_.open();
        pid_t id = -1;
        if (error == 0) error = SpawnPlan().spawn(program_, output_, error_, &id);
        if (error != 0) return {RunEnd::Kind::kNotStarted, error};
        output_.leave_to_program();
        error_.leave_to_program();
        observer_.started(id);
        Process process(id);
        return watch(process);
    }

private:
    RunEnd watch(Process& process) {
        CountedTime step;
        while (!process.has_ended()) {
            wait_for_output();
            if (read()) step.begin();
            const RunObserver::Wish wish = observer_.look();
            if (wish == RunObserver::Wish::kGoOnAnew) step.begin();
            if (wish == RunObserver::Wish::kStop) return stop(process);
            const bool isLate = step.has_lasted(program_.stepLimit);
            if (isLate && program_.stepLimit.count() > 0) {
                return end(process, RunEnd::Kind::kTimeLimit);
            }
        }
        return collect(process);
    }

    RunEnd stop(Process& process) {
        process.signal_group(SIGTERM);
        if (!await(process, program_.stopGrace)) observer_.before_kill();
        return end(process, RunEnd::Kind::kStopped);
    }

    RunEnd end(Process& process, RunEnd::Kind kind) {
        if (!process.has_ended()) process.signal_group(SIGKILL);
        const bool hasGone = await(process, kKillPatience);
        const RunEnd end = hasGone ? collect(process) : RunEnd{};
        return {kind, end.number, !hasGone};
    }

    bool await(Process& process, milliseconds patience) {
        CountedTime waiting;
        while (!process.has_ended()) {
            if (waiting.has_lasted(patience)) return false;
            wait_for_output();
            read();
        }
        return true;
    }

    /// After the process's end: its last lines, and its status.
    RunEnd collect(Process& process) {
        read();
        const RunEnd end = process.reap(output_.is_open() || error_.is_open());
        output_.finish(observer_);
        error_.finish(observer_);
        return end;
    }

    /// Until there is something to read, for as long as it takes to look again. A program that has
    /// closed its streams is looked at more often, since its end is not seen otherwise.
    void wait_for_output() const {
        pollfd pipes[] = {{output_.number(), POLLIN, 0}, {error_.number(), POLLIN, 0}};
        const bool isSilent = !output_.is_open() && !error_.is_open();
        poll(pipes, 2, static_cast<int>(isSilent ? 5 : kLookEvery.count()));
    }

    bool read() {
        const bool endsStep = output_.read(observer_);
        return error_.read(observer_) || endsStep;
    }

    const Program& program_;
    RunObserver& observer_;
    ProgramOutput output_{Stream::kOutput};
    ProgramOutput error_{Stream::kError};
};

}  // namespace

std::vector<std::string> environment_of_process() {
    std::vector<std::string> copy;
    for (char** variable = environ; variable && *variable; ++variable) copy.emplace_back(*variable);
    return copy;
}

RunEnd run_supervised(const Program& program, RunObserver& observer) {
    return Supervision(program, observer).run();
}

}  // namespace texprobe
