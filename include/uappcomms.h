// UAppComms: what the screen server and the screen clients share on the
// wire. Every message, in both directions, is one 3-byte UDP datagram on
// 127.0.0.1: byte 0 is a UAppCommand (read as a signed 8-bit number),
// bytes 1 and 2 its arguments. The server listens on APP_SERVER_PORT; a
// client's socket gets a port chosen by the system, and that port is the
// client's only identity.
//
// Threat model: the protocol is loopback-only and obeys any local sender.
// There is no authentication; any process on the phone may register,
// request the screen or send keys to a client. That is by design: every
// process on the phone is a trusted phonelet.
//
// The receive loops of both ends read with a limit of 3 bytes into a
// 4-byte buffer cleared to zero, so a short datagram leaves zeros behind
// and a longer one is handled by its first 3 bytes.
#ifndef UAPPCOMMS_H
#define UAPPCOMMS_H

#include "utkexport.h"

#include <cstdint>
#include <string>

class UTK_EXPORT UAppComms {
public:
    enum UAppCommand : signed char {
        REGISTER = 0x01,
        SHOW = 0x02,
        HIDE = 0x04,
        REQUEST_SCREEN = 0x08,
        RELEASE_SCREEN = 0x10,
        REQUEST_FULL_SCREEN = 0x11,
        RELEASE_FULL_SCREEN = 0x12,
        GIVE_SCREEN = 0x20,
        KEY_EVENT = 0x40
    };

    // The server's UDP port (0xFFF9).
    static const unsigned short APP_SERVER_PORT = 65529;
    // 127.0.0.1 in host order, as the socket layer takes it.
    static const uint32_t LOOPBACK_ADDRESS = 0x7F000001u;
    // Every datagram is this long.
    static const int MESSAGE_LENGTH = 3;

    // Bytes 0, 1 and 2 of a receive buffer as the log lines print them:
    // lower-case hexadecimal without leading zeros or separators, one
    // after the other ({0x40, 0x0d, 0x00} gives "40d0").
    static std::string hexBytes(const unsigned char* buffer);
    // "<prefix>malformed message of <count> bytes: 0x<hexBytes>"
    static std::string malformedLine(const std::string& prefix, int count,
                                     const unsigned char* buffer);
    // "<prefix>unrecognized message: 0x<hexBytes>"
    static std::string unrecognizedLine(const std::string& prefix,
                                        const unsigned char* buffer);
    // Writes one line to standard output, ended and flushed in one go.
    static void writeLine(const std::string& line);
};

#endif
