// IPv4 UDP sockets and addresses for the SDK's own GigE Vision traffic
// (message channel, action commands). Addresses are IPv4 numbers in host
// byte order (127.0.0.1 is 0x7F000001). Failures raise Orvane::Exception
// with ORVANE_ERR_IO and the system's reason.
#ifndef ORVANE_TRANSPORT_GIGE_GV_SOCKET_H
#define ORVANE_TRANSPORT_GIGE_GV_SOCKET_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Orvane {
namespace internal {

// "a.b.c.d" of an address.
std::string FormatIPv4(uint32_t address);

// Parses "a.b.c.d"; false for anything else.
bool ParseIPv4(const std::string& text, uint32_t& address);

// The local address the host sends from to reach `destination`.
uint32_t LocalAddressFor(uint32_t destination);

struct Ipv4Interface {
    std::string name;
    uint32_t address = 0;
    uint32_t netmask = 0;
    uint32_t broadcast = 0; // 0 when the interface has none (loopback, point to point)
    bool loopback = false;
};

// Every IPv4 address of every interface that is up, one entry per address.
std::vector<Ipv4Interface> ListIpv4Interfaces();

// A UDP socket (close-on-exec), closed by the destructor. Movable, not copyable.
class UdpSocket {
public:
    UdpSocket();
    ~UdpSocket();
    UdpSocket(UdpSocket&& other) noexcept;
    UdpSocket& operator=(UdpSocket&& other) noexcept;
    UdpSocket(const UdpSocket&) = delete;
    UdpSocket& operator=(const UdpSocket&) = delete;

    int Fd() const { return m_fd; }
    void Bind(uint32_t address, uint16_t port);
    uint16_t LocalPort() const;
    void SetBroadcast(bool enable);
    void SetReceiveBuffer(int bytes); // best effort: the system may cap it
    // Sends one datagram; false (errno set) when the system refuses it.
    bool SendTo(const void* data, size_t size, uint32_t address, uint16_t port) const;
    void Close();

private:
    int m_fd = -1;
};

} // namespace internal
} // namespace Orvane

#endif
