// Aravis's fake GigE Vision camera (arv-fake-gv-camera-0.8) as a test fixture
// part: started on a loopback address with a serial number of the test's
// choosing, stopped by its pid. Use only inside a private network namespace
// (tests/tools/netns-run), where the test may also add loopback addresses.
#ifndef ORVANE_TESTS_FAKE_GIGE_CAMERA_H
#define ORVANE_TESTS_FAKE_GIGE_CAMERA_H

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

class FakeGigECamera {
public:
    // Adds 127.0.0.N to the loopback device (127.0.0.1 is always there).
    static void AddLoopbackAddress(const std::string& address) {
        if (address == "127.0.0.1") return;
        const std::string command = "ip addr add " + address + "/8 dev lo 2>/dev/null";
        if (std::system(command.c_str()) == -1) throw std::runtime_error("cannot run ip");
    }

    FakeGigECamera(const std::string& address, const std::string& serial, int lossPerThousand = 0) {
        AddLoopbackAddress(address);
        const std::string loss = std::to_string(lossPerThousand);
        m_pid = fork();
        if (m_pid < 0) throw std::runtime_error("fork failed");
        if (m_pid == 0) {
            execlp("arv-fake-gv-camera-0.8", "arv-fake-gv-camera-0.8", "-i", address.c_str(), "-s", serial.c_str(),
                   "-r", loss.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        WaitUntilListening(address);
    }

    ~FakeGigECamera() { Stop(); }
    FakeGigECamera(const FakeGigECamera&) = delete;
    FakeGigECamera& operator=(const FakeGigECamera&) = delete;

    pid_t Pid() const { return m_pid; }

    // Ends the fake (this process's child, by its pid) and reaps it.
    void Stop(int signal = SIGTERM) {
        if (m_pid <= 0) return;
        kill(m_pid, signal);
        int status = 0;
        waitpid(m_pid, &status, 0);
        m_pid = -1;
    }

private:
    // Waits (up to 5 s) until the fake has bound the GigE Vision control port
    // (UDP 3956) on its address, so that discovery finds it at once.
    static void WaitUntilListening(const std::string& address) {
        unsigned a = 0, b = 0, c = 0, d = 0;
        if (std::sscanf(address.c_str(), "%u.%u.%u.%u", &a, &b, &c, &d) != 4) throw std::runtime_error("bad address");
        char wanted[32];
        std::snprintf(wanted, sizeof wanted, "%02X%02X%02X%02X:0F74", d, c, b, a);
        for (int i = 0; i < 500; ++i) {
            std::ifstream udp("/proc/net/udp");
            std::string line;
            while (std::getline(udp, line))
                if (line.find(wanted) != std::string::npos) return;
            usleep(10000);
        }
        throw std::runtime_error("the fake GigE Vision camera on " + address + " did not start");
    }

    pid_t m_pid = -1;
};

#endif
