// The GigE Vision device simulator (tests/tools/gvsim/gvsim.py) as a test
// fixture part: started on a loopback address with a serial number of the
// test's choosing, driven through its UDP control socket, stopped by its
// pid. Use only inside a private network namespace (tests/tools/netns-run),
// where the test may also add loopback addresses.
#ifndef ORVANE_TESTS_GV_SIM_H
#define ORVANE_TESTS_GV_SIM_H

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#ifndef ORVANE_SOURCE_DIR
#error "ORVANE_SOURCE_DIR must name the source tree (orvane_gtest defines it)"
#endif

// The interpreter that runs the simulator: the build may name one
// (tests/gige/CMakeLists.txt: Debian's /usr/bin/python3), else python3 on PATH.
#ifndef ORVANE_GVSIM_PYTHON
#define ORVANE_GVSIM_PYTHON "python3"
#endif

class GvSim {
public:
    // Adds 127.0.0.N to the loopback device (127.0.0.1 is always there).
    static void AddLoopbackAddress(const std::string& address) {
        if (address == "127.0.0.1") return;
        const std::string command = "ip addr add " + address + "/8 dev lo 2>/dev/null";
        if (std::system(command.c_str()) == -1) throw std::runtime_error("cannot run ip");
    }

    static std::string Script() { return ORVANE_SOURCE_DIR "/tests/tools/gvsim/gvsim.py"; }

    // Starts a simulator on `address`; `extraArguments` go to gvsim.py as they
    // are (e.g. {"--unconditional-action", "--action-device-key", "0x11"}).
    // Returns once the device answers on its address.
    GvSim(const std::string& address, const std::string& serial, const std::vector<std::string>& extraArguments = {})
        : m_address(address) {
        AddLoopbackAddress(address);
        char readyTemplate[] = "/tmp/orvane-gvsim-XXXXXX";
        const int fd = mkstemp(readyTemplate);
        if (fd < 0) throw std::runtime_error("mkstemp failed");
        close(fd);
        unlink(readyTemplate);
        m_readyFile = readyTemplate;

        std::vector<std::string> args = {ORVANE_GVSIM_PYTHON, Script(), "--ip",         address,
                                         "--serial",          serial,   "--ready-file", m_readyFile};
        args.insert(args.end(), extraArguments.begin(), extraArguments.end());
        std::vector<char*> argv;
        for (std::string& a : args) argv.push_back(&a[0]);
        argv.push_back(nullptr);
        m_pid = fork();
        if (m_pid < 0) throw std::runtime_error("fork failed");
        if (m_pid == 0) {
            // The device goes with the test: a test killed on timeout leaves no simulator behind.
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            execvp(argv[0], argv.data());
            _exit(127);
        }
        WaitUntilReady();
    }

    ~GvSim() {
        Stop();
        if (!m_readyFile.empty()) unlink(m_readyFile.c_str());
    }
    GvSim(const GvSim&) = delete;
    GvSim& operator=(const GvSim&) = delete;

    pid_t Pid() const { return m_pid; }
    const std::string& Address() const { return m_address; }
    uint16_t ControlPort() const { return m_controlPort; }
    uint16_t MessageSourcePort() const { return m_messageSourcePort; }

    // Ends the simulator (this process's child, by its pid) and reaps it.
    // SIGKILL is the device vanishing at once.
    void Stop(int signal = SIGTERM) {
        if (m_pid <= 0) return;
        kill(m_pid, signal);
        int status = 0;
        waitpid(m_pid, &status, 0);
        m_pid = -1;
    }

    // Sends one control command and returns the simulator's answer ("ok ..."
    // or "error ..."); "timeout" when none came within `timeoutMs`.
    std::string Command(const std::string& line, int timeoutMs = 30000) const {
        const int s = socket(AF_INET, SOCK_DGRAM, 0);
        if (s < 0) throw std::runtime_error("socket failed");
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(m_controlPort);
        inet_pton(AF_INET, m_address.c_str(), &to.sin_addr);
        std::string answer = "timeout";
        if (sendto(s, line.data(), line.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to) ==
            static_cast<ssize_t>(line.size())) {
            pollfd p{s, POLLIN, 0};
            if (poll(&p, 1, timeoutMs) == 1) {
                std::vector<char> buffer(70000);
                const ssize_t n = recv(s, buffer.data(), buffer.size(), 0);
                if (n >= 0) answer.assign(buffer.data(), static_cast<size_t>(n));
            }
        }
        close(s);
        return answer;
    }

    // The value of `key=value` in an answer; empty when absent.
    static std::string Field(const std::string& answer, const std::string& key) {
        std::istringstream words(answer);
        std::string word;
        while (words >> word)
            if (word.compare(0, key.size() + 1, key + "=") == 0) return word.substr(key.size() + 1);
        return "";
    }

    // The lines of a log answer ("actions", "writes") after its "ok n=K" line.
    static std::vector<std::string> Lines(const std::string& answer) {
        std::vector<std::string> lines;
        std::istringstream in(answer);
        std::string line;
        std::getline(in, line);
        while (std::getline(in, line)) lines.push_back(line);
        return lines;
    }

private:
    // Waits (up to 10 s) for the ready file the simulator writes once its
    // sockets are bound.
    void WaitUntilReady() {
        for (int i = 0; i < 1000; ++i) {
            std::ifstream ready(m_readyFile);
            std::string text;
            if (ready && std::getline(ready, text) && text.compare(0, 5, "ready") == 0) {
                m_controlPort = static_cast<uint16_t>(std::stoi(Field(text, "control_port")));
                m_messageSourcePort = static_cast<uint16_t>(std::stoi(Field(text, "mc_source_port")));
                return;
            }
            int status = 0;
            if (waitpid(m_pid, &status, WNOHANG) == m_pid) {
                m_pid = -1;
                throw std::runtime_error("the GigE Vision simulator on " + m_address + " exited at start");
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        Stop(SIGKILL);
        throw std::runtime_error("the GigE Vision simulator on " + m_address + " did not start");
    }

    std::string m_address;
    std::string m_readyFile;
    pid_t m_pid = -1;
    uint16_t m_controlPort = 0;
    uint16_t m_messageSourcePort = 0;
};

#endif
