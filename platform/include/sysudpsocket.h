// Stand-in for the phone platform's UDP datagram socket.
#ifndef SYSUDPSOCKET_H
#define SYSUDPSOCKET_H

#include <atomic>
#include <cstdint>
#include <string>

enum SysAddressFamily {
    SysAddressFamilyUnspecified = 0,
    SysAddressFamilyIPv4 = 2
};

// open() creates the socket and binds it to the given local address and
// port (port 0 lets the system choose). Reads block until a datagram
// arrives; shutdownRead() wakes a blocked reader for good, which is how an
// owner ends a thread that is waiting in read().
class SysUdpSocket {
public:
    SysUdpSocket();
    ~SysUdpSocket();
    SysUdpSocket(const SysUdpSocket&) = delete;
    SysUdpSocket& operator=(const SysUdpSocket&) = delete;

    // Returns 0 on success, -1 on failure (an error line is printed).
    int open(unsigned short port, SysAddressFamily family,
             const std::string& name, const std::string& address);
    // One datagram: copies at most length bytes into buffer (the rest of a
    // longer datagram is discarded), reports the sender's IPv4 address and
    // port in host order, returns the bytes copied or -1 on failure or
    // after shutdownRead().
    int read(void* buffer, int length, uint32_t* senderAddress,
             unsigned short* senderPort);
    // Sends length bytes as one datagram to address:port (host order).
    // Returns the bytes sent or -1.
    int write(const void* buffer, int length, uint32_t address,
              unsigned short port);
    // The operating system's descriptor, -1 when not open.
    int socketHandle() const;
    // The local port the socket is bound to (0 when unknown).
    unsigned short localPort() const;
    // Makes every pending and future read() return -1 at once.
    void shutdownRead();
    void close();
    const std::string& name() const { return m_name; }

private:
    int m_fd;
    std::string m_name;
    // Set by shutdownRead(), cleared by open(); the kernel still hands out
    // datagrams queued before (or after) the shutdown, so read() checks it.
    std::atomic<bool> m_readShut;
};

#endif
