#pragma once

#include "platform/scratch_directory.h"

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif

/* What a run of the tool left. */
struct Outcome {
    int status = -1; /* exit status; -1 when a signal ended it */
    int signal = 0;
    std::string out;
    std::string err;
    long peakKiB = 0; /* resident */

    nlohmann::json json() const { return nlohmann::json::parse(out); }
};

struct RunOptions {
    std::optional<rlim_t> fileBytes = {}; /* no file may grow beyond */
    std::optional<rlim_t> dataBytes = {}; /* private writable memory */
    bool asNobody = false;                /* without the rights of root */
    std::string stdoutTo = {};            /* a file that exists */
    std::string directory = {};           /* to run in */
};

/* A run of the tool under way. */
class Running {
public:
    explicit Running(const std::vector<std::string>& arguments, const RunOptions& options = {})
    {
        const std::string out = options.stdoutTo.empty() ? scratch_ / "out" : options.stdoutTo;
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        std::vector<char*> argv{const_cast<char*>(EMANTLE_TOOL)};
        for (const std::string& argument : arguments) {
            argv.push_back(const_cast<char*>(argument.c_str()));
        }
        argv.push_back(nullptr);
        pid_ = fork();
        if (pid_ == 0) {
            dup2(open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666), STDOUT_FILENO);
            dup2(ends[1], STDERR_FILENO);
            limit(RLIMIT_CPU, 120);
            limit(RLIMIT_CORE, 0);
            if (options.fileBytes) {
                limit(RLIMIT_FSIZE, *options.fileBytes);
            }
            if (options.dataBytes) {
                limit(RLIMIT_DATA, *options.dataBytes);
            }
            const bool placed = options.directory.empty() || chdir(options.directory.c_str()) == 0;
            const bool lowered = !options.asNobody || geteuid() != 0 || setuid(65534) == 0;
            if (placed && lowered) {
                execv(EMANTLE_TOOL, argv.data());
            }
            _exit(127);
        }
        close(ends[1]);
        errors_ = ends[0];
    }
    ~Running()
    {
        if (pid_ > 0) {
            kill(SIGKILL);
            finish();
        }
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    void kill(int number) const { ::kill(pid_, number); }

    Outcome finish()
    {
        Outcome outcome;
        char buffer[4096];
        for (ssize_t got; (got = read(errors_, buffer, sizeof buffer)) > 0;) {
            outcome.err.append(buffer, static_cast<std::size_t>(got));
        }
        close(errors_);
        int status = 0;
        rusage usage{};
        wait4(pid_, &status, 0, &usage);
        pid_ = -1;
        outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        outcome.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
        outcome.out = contentsOf(scratch_ / "out");
        outcome.peakKiB = usage.ru_maxrss;
        return outcome;
    }

private:
    static void limit(int what, rlim_t value)
    {
        const rlimit both{value, value};
        setrlimit(static_cast<__rlimit_resource>(what), &both);
    }

    ScratchDirectory scratch_;
    pid_t pid_ = -1;
    int errors_ = -1; /* where standard error can be read: no limit on files reaches a pipe */
};

inline Outcome run(const std::vector<std::string>& arguments, const RunOptions& options = {})
{
    return Running(arguments, options).finish();
}

/* The figures of one image, as `describe --json` prints them. */
inline nlohmann::json describe(const std::string& image, std::vector<std::string> arguments = {})
{
    arguments.insert(arguments.begin(), {"describe", image, "--json"});
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.err << " signal " << outcome.signal;
    if (outcome.status != 0) {
        return nullptr;
    }
    return outcome.json()["images"][0];
}
