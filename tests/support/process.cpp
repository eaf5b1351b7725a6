#include "process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "support/text.h"

namespace texprobe::tests {

namespace {

// Far longer than any run takes, even under a sanitizer on a busy machine, and less than a test
// may.
constexpr unsigned kSeconds = 240;

std::vector<char*> pointers(std::vector<std::string>& words) {
    std::vector<char*> result;
    result.reserve(words.size() + 1);
    for (std::string& word : words) result.push_back(word.data());
    result.push_back(nullptr);
    return result;
}

void redirect(int descriptor, const std::filesystem::path& file) {
    const int flags =
        descriptor == STDIN_FILENO ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC | O_APPEND;
    const int opened = open(file.c_str(), flags, 0600);
    dup2(opened, descriptor);
    close(opened);
}

/// A file without a name, which other processes open by the name of this one's descriptor.
class UnnamedFile {
public:
    UnnamedFile() : descriptor_(memfd_create("output", MFD_CLOEXEC)) {
        if (descriptor_ < 0)
            throw std::runtime_error("cannot create a file for a program's output");
    }
    ~UnnamedFile() { close(descriptor_); }
    UnnamedFile(const UnnamedFile&) = delete;
    UnnamedFile& operator=(const UnnamedFile&) = delete;

    std::filesystem::path path() const {
        return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(descriptor_);
    }

private:
    int descriptor_;
};

}  // namespace

bool Finished::exited_with(int code) const {
    return WIFEXITED(status) && WEXITSTATUS(status) == code;
}

pid_t start(const Command& command) {
    std::vector<std::string> words = {command.name.empty() ? command.program.string()
                                                           : command.name};
    words.insert(words.end(), command.arguments.begin(), command.arguments.end());
    std::vector<std::string> variables = command.environment;
    const std::vector<char*> argv = pointers(words);
    const std::vector<char*> environment = pointers(variables);
    return start([&] {
        setpgid(0, 0);
        const rlimit none = {0, 0};
        setrlimit(RLIMIT_CORE, &none);
        alarm(kSeconds);
        redirect(STDIN_FILENO, "/dev/null");
        redirect(STDOUT_FILENO, command.out);
        redirect(STDERR_FILENO, command.err);
        execvpe(command.program.c_str(), argv.data(), environment.data());
        return 127;
    });
}

pid_t start(const std::function<int()>& action) {
    std::fflush(nullptr);
    const pid_t process = fork();
    if (process == 0) _exit(action());
    if (process == -1) throw std::runtime_error("cannot create a process");
    return process;
}

bool has_ended(pid_t process) {
    siginfo_t info = {};
    waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOWAIT | WNOHANG);
    return info.si_pid == process;
}

Finished finish(pid_t process) {
    // The process group is killed before the process is reaped, while its ID cannot be reused.
    siginfo_t info;
    while (waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOWAIT) == -1) {
    }
    kill(-process, SIGKILL);
    const int status = status_of(process);
    return {process, status, WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM};
}

Finished run(Command command) {
    const UnnamedFile out;
    const UnnamedFile err;
    command.out = out.path();
    command.err = err.path();
    Finished finished = finish(start(command));
    finished.out = read_file(out.path());
    finished.err = read_file(err.path());
    return finished;
}

int run_in_shell(const std::string& words) {
    const int status = std::system(words.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int status_of(pid_t child) {
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

}  // namespace texprobe::tests
