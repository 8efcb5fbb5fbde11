#include "uappclient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cstring>

#include "sysudpsocket.h"
#include "uapplication.h"
#include "uevent.h"
#include "ukeyevent.h"

UAppClient::UAppClient() : m_socket(new SysUdpSocket()), m_deliveryOpen(false), m_halted(false)
{
    (void)m_socket->open(0, SysAddressFamilyIPv4, "AppClient", "127.0.0.1");
}

UAppClient::~UAppClient()
{
    halt();
    delete m_socket;
    m_socket = nullptr;
}

void UAppClient::halt()
{
    stop();
    if (m_socket)
        m_socket->shutdownRead();
    {
        std::lock_guard<std::mutex> lock(m_deliveryMutex);
        m_deliveryOpen = true;
        m_halted = true;
    }
    m_deliveryReady.notify_all();
    join();
}

void UAppClient::beginDelivery()
{
    {
        std::lock_guard<std::mutex> lock(m_deliveryMutex);
        m_deliveryOpen = true;
    }
    m_deliveryReady.notify_all();
}

bool UAppClient::waitForDelivery()
{
    std::unique_lock<std::mutex> lock(m_deliveryMutex);
    m_deliveryReady.wait(lock, [this] { return m_deliveryOpen; });
    return !m_halted;
}

char UAppClient::getAppName(const UString& name)
{
    if (name == UApplication::DESKTOPPHONELET)
        return 1;
    if (name == UApplication::APPLAUNCHERPHONELET)
        return 2;
    if (name == UApplication::CALLVIEWPHONELET)
        return 3;
    if (name == UApplication::ADMINPHONELET)
        return 4;
    if (name == UApplication::CALLLOGPHONELET)
        return 5;
    if (name == UApplication::LDAPPHONELET)
        return 6;
    if (name == UApplication::MESSAGESPHONELET)
        return 7;
    return 0;
}

void UAppClient::sendCommand(UAppComms::UAppCommand command, char argument)
{
    unsigned char datagram[3] = {static_cast<unsigned char>(command),
                                 static_cast<unsigned char>(argument), 0};
    (void)m_socket->write(datagram, UAppComms::MESSAGE_LENGTH, UAppComms::LOOPBACK_ADDRESS,
                          UAppComms::APP_SERVER_PORT);
}

void UAppClient::requestScreen()
{
    sendCommand(UAppComms::REQUEST_SCREEN, 0);
}

void UAppClient::releaseScreen()
{
    sendCommand(UAppComms::RELEASE_SCREEN, 0);
}

void UAppClient::requestFullScreen()
{
    sendCommand(UAppComms::REQUEST_FULL_SCREEN, 0);
}

void UAppClient::releaseFullScreen()
{
    sendCommand(UAppComms::RELEASE_FULL_SCREEN, 0);
}

unsigned short UAppClient::localPort() const
{
    return m_socket ? m_socket->localPort() : 0;
}

std::string UAppClient::logPrefix() const
{
    UApplication* app = UApplication::instance();
    return "UAppClient " + (app ? app->getAppName().toUTF8() : std::string()) + ": ";
}

void UAppClient::run()
{
    // Bind to 127.0.0.1 with a port of the system's choice. The platform's
    // open has bound the socket already, so this normally fails; the
    // result is not looked at either way.
    sockaddr_in sa;
    std::memset(&sa, 0, sizeof sa);
    sa.sin_family = AF_INET;
    sa.sin_port = htons(0);
    sa.sin_addr.s_addr = htonl(UAppComms::LOOPBACK_ADDRESS);
    if (m_socket->socketHandle() >= 0)
        (void)::bind(m_socket->socketHandle(), reinterpret_cast<sockaddr*>(&sa), sizeof sa);

    UApplication* app = UApplication::instance();
    sendCommand(UAppComms::REGISTER, app ? getAppName(app->getAppName()) : 0);

    int failures = 0;
    while (!shouldStop()) {
        unsigned char buffer[4];
        std::memset(buffer, 0, sizeof buffer);
        unsigned short senderPort = 0;
        int n = m_socket->read(buffer, UAppComms::MESSAGE_LENGTH, nullptr, &senderPort);
        if (n < 0 && shouldStop())
            break;
        handleMessage(buffer, n);
        if (n < 0) {
            if (++failures > 1)
                ::poll(nullptr, 0, 100);
        } else {
            failures = 0;
        }
    }
}

void UAppClient::handleMessage(const unsigned char* buffer, int count)
{
    if (count != UAppComms::MESSAGE_LENGTH) {
        UAppComms::writeLine(UAppComms::malformedLine(logPrefix(), count, buffer));
        return;
    }
    signed char command = static_cast<signed char>(buffer[0]);
    if ((command == UAppComms::SHOW || command == UAppComms::HIDE || command == UAppComms::KEY_EVENT) &&
        !waitForDelivery())
        return;
    UApplication* app = UApplication::instance();
    switch (command) {
    case UAppComms::HIDE:
        if (app)
            UApplication::postThroughInstance(new UEvent(app, UEvent::AppHide));
        break;
    case UAppComms::KEY_EVENT: {
        if (!app || !app->isEnabled())
            break;
        if (app->getAppName() == UApplication::DESKTOPPHONELET)
            break;
        UKeyEvent* key = new UKeyEvent(app, UEvent::Key);
        signed char code = static_cast<signed char>(buffer[1]);
        signed char state = static_cast<signed char>(buffer[2]);
        key->m_key = static_cast<unsigned short>(code);
        key->m_state = static_cast<int32_t>(state);
        UApplication::postThroughInstance(key);
        break;
    }
    case UAppComms::SHOW:
        if (app)
            UApplication::postThroughInstance(new UEvent(app, UEvent::AppShow));
        break;
    default:
        UAppComms::writeLine(UAppComms::unrecognizedLine(logPrefix(), buffer));
        break;
    }
}
