#include "sysudpsocket.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

SysUdpSocket::SysUdpSocket() : m_fd(-1), m_readShut(false) {}

SysUdpSocket::~SysUdpSocket() { close(); }

int SysUdpSocket::open(unsigned short port, SysAddressFamily family, const std::string& name,
                       const std::string& address)
{
    close();
    m_name = name;
    m_readShut = false;
    if (family != SysAddressFamilyIPv4) {
        std::fprintf(stderr, "SysUdpSocket %s: unsupported address family %d\n", name.c_str(),
                     static_cast<int>(family));
        return -1;
    }
    int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        std::fprintf(stderr, "SysUdpSocket %s: socket: %s\n", name.c_str(), std::strerror(errno));
        return -1;
    }
    sockaddr_in sa;
    std::memset(&sa, 0, sizeof sa);
    sa.sin_family = AF_INET;
    sa.sin_port = htons(port);
    if (inet_pton(AF_INET, address.c_str(), &sa.sin_addr) != 1) {
        std::fprintf(stderr, "SysUdpSocket %s: bad address %s\n", name.c_str(), address.c_str());
        ::close(fd);
        return -1;
    }
    if (::bind(fd, reinterpret_cast<sockaddr*>(&sa), sizeof sa) != 0) {
        std::fprintf(stderr, "SysUdpSocket %s: bind %s:%u: %s\n", name.c_str(), address.c_str(),
                     static_cast<unsigned>(port), std::strerror(errno));
        ::close(fd);
        return -1;
    }
    m_fd = fd;
    return 0;
}

int SysUdpSocket::read(void* buffer, int length, uint32_t* senderAddress,
                       unsigned short* senderPort)
{
    if (m_fd < 0 || !buffer || length < 0 || m_readShut.load())
        return -1;
    sockaddr_in sa;
    socklen_t len = sizeof sa;
    std::memset(&sa, 0, sizeof sa);
    ssize_t n;
    do {
        n = ::recvfrom(m_fd, buffer, static_cast<size_t>(length), 0,
                       reinterpret_cast<sockaddr*>(&sa), &len);
    } while (n < 0 && errno == EINTR);
    // A read under way when shutdownRead() came fails too, even if it
    // picked up a datagram.
    if (n < 0 || m_readShut.load())
        return -1;
    // After shutdownRead() a datagram socket reports 0 bytes from nowhere.
    if (n == 0 && sa.sin_family != AF_INET)
        return -1;
    if (senderAddress)
        *senderAddress = ntohl(sa.sin_addr.s_addr);
    if (senderPort)
        *senderPort = ntohs(sa.sin_port);
    return static_cast<int>(n);
}

int SysUdpSocket::write(const void* buffer, int length, uint32_t address, unsigned short port)
{
    if (m_fd < 0 || !buffer || length < 0)
        return -1;
    sockaddr_in sa;
    std::memset(&sa, 0, sizeof sa);
    sa.sin_family = AF_INET;
    sa.sin_port = htons(port);
    sa.sin_addr.s_addr = htonl(address);
    ssize_t n = ::sendto(m_fd, buffer, static_cast<size_t>(length), MSG_NOSIGNAL,
                         reinterpret_cast<sockaddr*>(&sa), sizeof sa);
    return n < 0 ? -1 : static_cast<int>(n);
}

int SysUdpSocket::socketHandle() const { return m_fd; }

unsigned short SysUdpSocket::localPort() const
{
    if (m_fd < 0)
        return 0;
    sockaddr_in sa;
    socklen_t len = sizeof sa;
    if (::getsockname(m_fd, reinterpret_cast<sockaddr*>(&sa), &len) != 0)
        return 0;
    return ntohs(sa.sin_port);
}

void SysUdpSocket::shutdownRead()
{
    m_readShut = true;
    // On an unconnected datagram socket this reports ENOTCONN but still
    // marks the socket shut for reading and wakes a blocked recvfrom().
    if (m_fd >= 0)
        ::shutdown(m_fd, SHUT_RD);
}

void SysUdpSocket::close()
{
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
}
