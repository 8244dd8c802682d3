#include "support/ChildProcess.h"

#include "utils/UniqueFd.h"

#include <array>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <link.h>
#include <pty.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

extern char** environ;

namespace support {

namespace {

constexpr int EXIT_NOT_STARTED = 127;
constexpr int EXIT_SIGNAL_BASE = 128;
constexpr std::chrono::milliseconds LAST_OUTPUT_TIME{1000};

struct TPipe {
    zelto::TUniqueFd reader;
    zelto::TUniqueFd writer;
};

TPipe MakePipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    return {zelto::TUniqueFd(ends[0]), zelto::TUniqueFd(ends[1])};
}

// A pipe whose writers take it for a terminal. It hands on every byte as it is.
TPipe MakeTerminal() {
    int reader = -1;
    int writer = -1;
    termios settings{};
    cfmakeraw(&settings);
    if (openpty(&reader, &writer, nullptr, &settings, nullptr) != 0) {
        throw std::runtime_error("no terminal");
    }
    (void)fcntl(reader, F_SETFD, FD_CLOEXEC); // cannot fail on what was opened just now
    (void)fcntl(writer, F_SETFD, FD_CLOEXEC);
    return {zelto::TUniqueFd(reader), zelto::TUniqueFd(writer)};
}

// The arrays that exec wants, made before fork: nothing may be allocated between the two.
class TTextArray {
public:
    explicit TTextArray(std::vector<std::string> texts) : storage(std::move(texts)) {
        for (std::string& text : storage) {
            pointers.push_back(text.data());
        }
        pointers.push_back(nullptr);
    }
    char** Data() { return pointers.data(); }

private:
    std::vector<std::string> storage;
    std::vector<char*> pointers;
};

std::vector<std::string> MergedEnvironment(const TChildProcess::TEnvironment& additions) {
    std::map<std::string, std::string> values;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        const size_t equals = text.find('=');
        values[text.substr(0, equals)] = equals == std::string::npos ? "" : text.substr(equals + 1);
    }
    for (const auto& [name, value] : additions) {
        values[name] = value;
    }
    std::vector<std::string> merged;
    for (const auto& [name, value] : values) {
        merged.push_back(name + "=" + value);
    }
    return merged;
}

// Whether a file is a program for the machine that this one was compiled for.
bool IsOfThisMachine(const std::string& path) {
    const auto header = [](const std::string& file) {
        ElfW(Ehdr) read{};
        std::ifstream(file, std::ios::binary).read(reinterpret_cast<char*>(&read), sizeof(read));
        return read;
    };
    return header(path).e_machine == header("/proc/self/exe").e_machine;
}

// An emulated test cannot start an emulated program by its name alone.
std::vector<std::string> WithEmulator(const std::vector<std::string>& command) {
    std::istringstream words(EMULATOR);
    std::vector<std::string> emulated{std::istream_iterator<std::string>(words), {}};
    if (emulated.empty() || !IsOfThisMachine(command.front())) {
        return command;
    }
    emulated.insert(emulated.end(), command.begin(), command.end());
    return emulated;
}

struct TChildSetup {
    int input;
    int output;
    int errors;
    const char* directory;
    pid_t parent;
    char** arguments;
    char** environment;
};

// Between fork and exec: system calls only.
[[noreturn]] void BecomeProgram(const TChildSetup& setup) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != setup.parent) {
        _exit(EXIT_NOT_STARTED); // it died before the line above
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    signal(SIGPIPE, SIG_DFL);
    dup2(setup.input, STDIN_FILENO);
    dup2(setup.output, STDOUT_FILENO);
    dup2(setup.errors, STDERR_FILENO);
    close_range(STDERR_FILENO + 1, ~0U, 0); // what the test process itself was given
    if (*setup.directory == '\0' || chdir(setup.directory) == 0) {
        execvpe(setup.arguments[0], setup.arguments, setup.environment);
    }
    _exit(EXIT_NOT_STARTED);
}

int ExitCode(int waitStatus) {
    return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : EXIT_SIGNAL_BASE + WTERMSIG(waitStatus);
}

} // namespace

struct TChildProcess::TState {
    pid_t pid = -1;
    zelto::TUniqueFd input;
    zelto::TUniqueFd output;
    zelto::TUniqueFd errors;
    zelto::TUniqueFd stop{eventfd(0, EFD_CLOEXEC)};

    mutable std::mutex mutex;
    std::condition_variable changed;
    std::string outputText;
    std::string errorText;
    bool pipesOpen = true;
    std::optional<int> exitCode;

    std::thread collector;
    std::thread reaper;

    void Start(const std::vector<std::string>& command, const TOptions& options);
    void Collect();
    bool Append(int descriptor, std::string& text);
    void Reap();

    template <typename TPredicate>
    bool Wait(std::chrono::milliseconds timeout, const TPredicate& predicate) {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_until(lock, std::chrono::system_clock::now() + timeout, predicate);
    }
};

void TChildProcess::TState::Start(const std::vector<std::string>& command, const TOptions& options) {
    TPipe in = MakePipe();
    TPipe out = options.isOnTerminals ? MakeTerminal() : MakePipe();
    TPipe err = options.isOnTerminals ? MakeTerminal() : MakePipe();
    TTextArray arguments(WithEmulator(command));
    TTextArray environment(MergedEnvironment(options.environment));
    const int errorEnd = options.errorDescriptor >= 0 ? options.errorDescriptor : err.writer.Get();
    const TChildSetup setup{in.reader.Get(), out.writer.Get(), errorEnd,          options.directory.c_str(),
                            getpid(),        arguments.Data(), environment.Data()};
    pid = fork();
    if (pid < 0) {
        throw std::runtime_error("no process");
    }
    if (pid == 0) {
        BecomeProgram(setup);
    }
    input = std::move(in.writer);
    output = std::move(out.reader);
    errors = std::move(err.reader);
}

// False at the end of the pipe.
bool TChildProcess::TState::Append(int descriptor, std::string& text) {
    std::array<char, 16384> buffer;
    const ssize_t size = read(descriptor, buffer.data(), buffer.size());
    if (size < 0 && errno == EINTR) {
        return true;
    }
    if (size <= 0) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(mutex);
    text.append(buffer.data(), static_cast<size_t>(size));
    changed.notify_all();
    return true;
}

void TChildProcess::TState::Collect() {
    std::array<pollfd, 3> polled{
        {{output.Get(), POLLIN, 0}, {errors.Get(), POLLIN, 0}, {stop.Get(), POLLIN, 0}}};
    while (polled[0].fd >= 0 || polled[1].fd >= 0) {
        (void)poll(polled.data(), polled.size(), -1);
        if (polled[2].revents != 0) {
            return;
        }
        if (polled[0].revents != 0 && !Append(polled[0].fd, outputText)) {
            polled[0].fd = -1;
        }
        if (polled[1].revents != 0 && !Append(polled[1].fd, errorText)) {
            polled[1].fd = -1;
        }
    }
    const std::lock_guard<std::mutex> lock(mutex);
    pipesOpen = false;
    changed.notify_all();
}

// Looks first and takes the process away under the lock, so that no signal of ours can meet a process number
// that is in other use already.
void TChildProcess::TState::Reap() {
    siginfo_t info;
    while (waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
    }
    const std::lock_guard<std::mutex> lock(mutex);
    int status = 0;
    (void)waitpid(pid, &status, 0); // has ended, as seen above
    exitCode = ExitCode(status);
    changed.notify_all();
}

TChildProcess::TChildProcess(const std::vector<std::string>& command, const TOptions& options)
    : state(std::make_unique<TState>()) {
    state->Start(command, options);
    state->collector = std::thread([this] { state->Collect(); });
    state->reaper = std::thread([this] { state->Reap(); });
}

TChildProcess::~TChildProcess() {
    Kill();
    const uint64_t one = 1;
    (void)!write(state->stop.Get(), &one, sizeof(one)); // cannot fail on a fresh eventfd
    state->collector.join();
    state->reaper.join();
}

pid_t TChildProcess::Pid() const {
    return state->pid;
}

bool TChildProcess::IsRunning() const {
    const std::lock_guard<std::mutex> lock(state->mutex);
    return !state->exitCode;
}

void TChildProcess::Signal(int number) {
    const std::lock_guard<std::mutex> lock(state->mutex);
    if (!state->exitCode) {
        (void)kill(state->pid, number); // at worst it has just ended
    }
}

void TChildProcess::Kill() {
    Signal(SIGKILL);
    std::unique_lock<std::mutex> lock(state->mutex);
    state->changed.wait(lock, [this] { return state->exitCode.has_value(); });
}

std::optional<int> TChildProcess::WaitForExit(std::chrono::milliseconds timeout) {
    if (!state->Wait(timeout, [this] { return state->exitCode.has_value(); })) {
        return std::nullopt;
    }
    (void)state->Wait(LAST_OUTPUT_TIME, [this] { return !state->pipesOpen; });
    const std::lock_guard<std::mutex> lock(state->mutex);
    return state->exitCode;
}

std::string TChildProcess::Output() const {
    const std::lock_guard<std::mutex> lock(state->mutex);
    return state->outputText;
}

std::string TChildProcess::Errors() const {
    const std::lock_guard<std::mutex> lock(state->mutex);
    return state->errorText;
}

// Gives up early when there is nothing more to come.
bool TChildProcess::WaitForOutput(const std::string& part, std::chrono::milliseconds timeout) {
    const auto found = [&] { return state->outputText.find(part) != std::string::npos; };
    return state->Wait(timeout, [&] { return found() || !state->pipesOpen; }) &&
           Output().find(part) != std::string::npos;
}

bool TChildProcess::WaitForErrors(const std::string& part, std::chrono::milliseconds timeout) {
    const auto found = [&] { return state->errorText.find(part) != std::string::npos; };
    return state->Wait(timeout, [&] { return found() || !state->pipesOpen; }) &&
           Errors().find(part) != std::string::npos;
}

// A child that no longer reads is no reason to die of SIGPIPE.
void TChildProcess::WriteInput(const std::string& text) {
    const auto previous = signal(SIGPIPE, SIG_IGN);
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t size = write(state->input.Get(), text.data() + done, text.size() - done);
        if (size <= 0) {
            break;
        }
        done += static_cast<size_t>(size);
    }
    (void)signal(SIGPIPE, previous);
}

void TChildProcess::CloseInput() {
    state->input.Reset();
}

TRunResult RunProgram(const std::vector<std::string>& command, const TChildProcess::TOptions& options,
                      std::chrono::milliseconds timeout) {
    TChildProcess child(command, options);
    child.CloseInput();
    const std::optional<int> exitCode = child.WaitForExit(timeout);
    return {exitCode.value_or(-1), child.Output(), child.Errors()};
}

} // namespace support
