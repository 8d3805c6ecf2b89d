// orvctl running beside the test (orvctl watch): started with its stdout on a
// pipe the test reads line by line as it comes, stderr into a file, ended by
// a signal the test sends to its pid.
#ifndef ORVANE_TESTS_ORVCTL_CHILD_H
#define ORVANE_TESTS_ORVCTL_CHILD_H

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <vector>

namespace orvctltest {

class OrvctlChild {
public:
    // Starts orvctl with these arguments; its stderr goes to `errFile`.
    OrvctlChild(const std::vector<std::string>& args, const std::string& errFile) {
        int fds[2];
        if (pipe(fds) != 0) return;
        m_pid = fork();
        if (m_pid == 0) {
            dup2(fds[1], 1);
            const int err = open(errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            if (err >= 0) dup2(err, 2);
            close(fds[0]);
            close(fds[1]);
            std::vector<char*> argv;
            argv.push_back(const_cast<char*>(ORVCTL_PATH));
            for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
            argv.push_back(nullptr);
            execv(ORVCTL_PATH, argv.data());
            _exit(127);
        }
        close(fds[1]);
        m_out = fds[0];
    }
    ~OrvctlChild() {
        if (m_pid > 0) {
            kill(m_pid, SIGKILL);
            int status = 0;
            waitpid(m_pid, &status, 0);
        }
        if (m_out >= 0) close(m_out);
    }
    OrvctlChild(const OrvctlChild&) = delete;
    OrvctlChild& operator=(const OrvctlChild&) = delete;

    bool Started() const { return m_pid > 0 && m_out >= 0; }

    // The next stdout line, waiting at most `timeout`; false when none came
    // (or the output ended).
    bool ReadLine(std::string& line, std::chrono::milliseconds timeout) {
        const auto end = std::chrono::steady_clock::now() + timeout;
        for (;;) {
            const size_t newline = m_buffer.find('\n');
            if (newline != std::string::npos) {
                line = m_buffer.substr(0, newline);
                m_buffer.erase(0, newline + 1);
                return true;
            }
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
            if (left <= 0) return false;
            pollfd p{m_out, POLLIN, 0};
            if (poll(&p, 1, static_cast<int>(left)) <= 0) return false;
            char chunk[1024];
            const ssize_t n = read(m_out, chunk, sizeof chunk);
            if (n <= 0) return false;
            m_buffer.append(chunk, static_cast<size_t>(n));
        }
    }

    // Sends `signal` and waits for the exit; the exit status, or -1 when it
    // did not exit normally.
    int Stop(int signal) {
        if (m_pid <= 0) return -1;
        kill(m_pid, signal);
        int status = 0;
        waitpid(m_pid, &status, 0);
        m_pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t m_pid = -1;
    int m_out = -1;
    std::string m_buffer;
};

} // namespace orvctltest

#endif
