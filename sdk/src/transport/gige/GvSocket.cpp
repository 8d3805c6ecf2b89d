#include "transport/gige/GvSocket.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "core/Raise.h"

namespace Orvane {
namespace internal {

namespace {

sockaddr_in SocketAddress(uint32_t address, uint16_t port) {
    sockaddr_in sa;
    std::memset(&sa, 0, sizeof sa);
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = htonl(address);
    sa.sin_port = htons(port);
    return sa;
}

std::string Reason() { return std::strerror(errno); }

} // namespace

std::string FormatIPv4(uint32_t address) {
    return std::to_string(address >> 24) + "." + std::to_string((address >> 16) & 0xFF) + "." +
           std::to_string((address >> 8) & 0xFF) + "." + std::to_string(address & 0xFF);
}

bool ParseIPv4(const std::string& text, uint32_t& address) {
    in_addr a;
    if (inet_pton(AF_INET, text.c_str(), &a) != 1) return false;
    address = ntohl(a.s_addr);
    return true;
}

uint32_t LocalAddressFor(uint32_t destination) {
    UdpSocket probe;
    const sockaddr_in sa = SocketAddress(destination, 3956);
    if (connect(probe.Fd(), reinterpret_cast<const sockaddr*>(&sa), sizeof sa) != 0)
        ORV_RAISE(ORVANE_ERR_IO, "No route to " + FormatIPv4(destination) + ": " + Reason());
    sockaddr_in local;
    socklen_t length = sizeof local;
    if (getsockname(probe.Fd(), reinterpret_cast<sockaddr*>(&local), &length) != 0)
        ORV_RAISE(ORVANE_ERR_IO, "Cannot read the local address towards " + FormatIPv4(destination) + ": " + Reason());
    return ntohl(local.sin_addr.s_addr);
}

std::vector<Ipv4Interface> ListIpv4Interfaces() {
    std::vector<Ipv4Interface> out;
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) ORV_RAISE(ORVANE_ERR_IO, "Cannot list the network interfaces: " + Reason());
    for (const ifaddrs* i = list; i; i = i->ifa_next) {
        if (!i->ifa_addr || i->ifa_addr->sa_family != AF_INET || !(i->ifa_flags & IFF_UP)) continue;
        Ipv4Interface entry;
        entry.name = i->ifa_name ? i->ifa_name : "";
        entry.address = ntohl(reinterpret_cast<const sockaddr_in*>(i->ifa_addr)->sin_addr.s_addr);
        if (i->ifa_netmask)
            entry.netmask = ntohl(reinterpret_cast<const sockaddr_in*>(i->ifa_netmask)->sin_addr.s_addr);
        if ((i->ifa_flags & IFF_BROADCAST) && i->ifa_broadaddr)
            entry.broadcast = ntohl(reinterpret_cast<const sockaddr_in*>(i->ifa_broadaddr)->sin_addr.s_addr);
        entry.loopback = (i->ifa_flags & IFF_LOOPBACK) != 0;
        out.push_back(entry);
    }
    freeifaddrs(list);
    return out;
}

UdpSocket::UdpSocket() {
    m_fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (m_fd < 0) ORV_RAISE(ORVANE_ERR_IO, "Cannot open a UDP socket: " + Reason());
}

UdpSocket::~UdpSocket() { Close(); }

UdpSocket::UdpSocket(UdpSocket&& other) noexcept : m_fd(other.m_fd) { other.m_fd = -1; }

UdpSocket& UdpSocket::operator=(UdpSocket&& other) noexcept {
    if (this != &other) {
        Close();
        m_fd = other.m_fd;
        other.m_fd = -1;
    }
    return *this;
}

void UdpSocket::Close() {
    if (m_fd >= 0) close(m_fd);
    m_fd = -1;
}

void UdpSocket::Bind(uint32_t address, uint16_t port) {
    const sockaddr_in sa = SocketAddress(address, port);
    if (bind(m_fd, reinterpret_cast<const sockaddr*>(&sa), sizeof sa) != 0)
        ORV_RAISE(ORVANE_ERR_IO,
                  "Cannot bind a UDP socket to " + FormatIPv4(address) + ":" + std::to_string(port) + ": " + Reason());
}

uint16_t UdpSocket::LocalPort() const {
    sockaddr_in local;
    socklen_t length = sizeof local;
    if (getsockname(m_fd, reinterpret_cast<sockaddr*>(&local), &length) != 0)
        ORV_RAISE(ORVANE_ERR_IO, "Cannot read the port of a UDP socket: " + Reason());
    return ntohs(local.sin_port);
}

void UdpSocket::SetBroadcast(bool enable) {
    const int on = enable ? 1 : 0;
    if (setsockopt(m_fd, SOL_SOCKET, SO_BROADCAST, &on, sizeof on) != 0)
        ORV_RAISE(ORVANE_ERR_IO, "Cannot allow broadcasts on a UDP socket: " + Reason());
}

void UdpSocket::SetReceiveBuffer(int bytes) { setsockopt(m_fd, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes); }

bool UdpSocket::SendTo(const void* data, size_t size, uint32_t address, uint16_t port) const {
    const sockaddr_in sa = SocketAddress(address, port);
    return sendto(m_fd, data, size, MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&sa), sizeof sa) ==
           static_cast<ssize_t>(size);
}

} // namespace internal
} // namespace Orvane
