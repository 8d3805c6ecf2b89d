// A minimal GVCP client of the tests' own, independent of Aravis and of the
// SDK: register and memory commands over one UDP socket, with the device's
// acknowledgement (status, payload) returned as it came. Used on one thread.
#ifndef ORVANE_TESTS_GIGE_RAW_GVCP_H
#define ORVANE_TESTS_GIGE_RAW_GVCP_H

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

class RawGvcp {
public:
    struct Reply {
        bool answered = false;
        uint16_t status = 0;
        uint16_t acknowledge = 0;
        std::vector<uint8_t> payload;
        uint32_t Word(size_t index = 0) const {
            if (payload.size() < 4 * index + 4) return 0xDEADBEEF;
            const uint8_t* p = &payload[4 * index];
            return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3];
        }
    };

    explicit RawGvcp(const std::string& device, const std::string& local = "127.0.0.1") {
        m_fd = socket(AF_INET, SOCK_DGRAM, 0);
        if (m_fd < 0) throw std::runtime_error("socket failed");
        sockaddr_in a{};
        a.sin_family = AF_INET;
        inet_pton(AF_INET, local.c_str(), &a.sin_addr);
        if (bind(m_fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) throw std::runtime_error("bind failed");
        m_device.sin_family = AF_INET;
        m_device.sin_port = htons(3956);
        inet_pton(AF_INET, device.c_str(), &m_device.sin_addr);
    }
    ~RawGvcp() { close(m_fd); }
    RawGvcp(const RawGvcp&) = delete;
    RawGvcp& operator=(const RawGvcp&) = delete;

    Reply Transact(uint16_t command, const std::vector<uint8_t>& payload, int timeoutMs = 1000) {
        const uint16_t id = m_nextId++;
        std::vector<uint8_t> packet = {0x42,
                                       0x01,
                                       uint8_t(command >> 8),
                                       uint8_t(command),
                                       uint8_t(payload.size() >> 8),
                                       uint8_t(payload.size()),
                                       uint8_t(id >> 8),
                                       uint8_t(id)};
        packet.insert(packet.end(), payload.begin(), payload.end());
        sendto(m_fd, packet.data(), packet.size(), 0, reinterpret_cast<sockaddr*>(&m_device), sizeof m_device);
        Reply reply;
        pollfd p{m_fd, POLLIN, 0};
        while (poll(&p, 1, timeoutMs) == 1) {
            uint8_t buffer[1024];
            const ssize_t n = recv(m_fd, buffer, sizeof buffer, 0);
            if (n < 8 || ((buffer[6] << 8) | buffer[7]) != id) continue;
            reply.answered = true;
            reply.status = uint16_t((buffer[0] << 8) | buffer[1]);
            reply.acknowledge = uint16_t((buffer[2] << 8) | buffer[3]);
            reply.payload.assign(buffer + 8, buffer + n);
            break;
        }
        return reply;
    }

    Reply ReadRegister(uint32_t address) { return Transact(0x0080, Word(address)); }

    Reply WriteRegister(uint32_t address, uint32_t value) {
        std::vector<uint8_t> payload = Word(address);
        const std::vector<uint8_t> v = Word(value);
        payload.insert(payload.end(), v.begin(), v.end());
        return Transact(0x0082, payload);
    }

    Reply ReadMemory(uint32_t address, uint16_t size) {
        std::vector<uint8_t> payload = Word(address);
        payload.insert(payload.end(), {0, 0, uint8_t(size >> 8), uint8_t(size)});
        return Transact(0x0084, payload);
    }

    // Takes the control privilege (CCP = control); throws when refused.
    void TakeControl() {
        const Reply r = WriteRegister(0x0A00, 2);
        if (!r.answered || r.status != 0) throw std::runtime_error("control refused");
    }

    // A register writer that throws when the device refuses the write.
    std::function<void(uint32_t, uint32_t)> Writer() {
        return [this](uint32_t address, uint32_t value) {
            const Reply r = WriteRegister(address, value);
            if (!r.answered) throw std::runtime_error("no answer to WRITEREG");
            if (r.status != 0) throw std::runtime_error("WRITEREG refused with status " + std::to_string(r.status));
        };
    }

    static std::vector<uint8_t> Word(uint32_t v) {
        return {uint8_t(v >> 24), uint8_t(v >> 16), uint8_t(v >> 8), uint8_t(v)};
    }

private:
    int m_fd = -1;
    sockaddr_in m_device{};
    uint16_t m_nextId = 1;
};

#endif
