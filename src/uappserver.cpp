#include "uappserver.h"

#include <poll.h>

#include <cstring>

#include "sysudpsocket.h"
#include "uapplication.h"
#include "uremoteapp.h"
#include "uwindowmanager.h"

namespace {

const std::string kServerPrefix = "UAppServer: ";

void sleepMs(int ms)
{
    ::poll(nullptr, 0, ms);
}

} // namespace

UAppServer::UAppServer()
    : m_socket(nullptr), m_startSemaphore(SysSemaphore::NOT_AVAILABLE, 1, false),
      m_callViewFullScreen(false), m_listening(false)
{
}

UAppServer::~UAppServer()
{
    halt();
    delete m_socket.exchange(nullptr);
    for (URemoteApp* app : m_apps)
        delete app;
    m_apps.clear();
}

void UAppServer::halt()
{
    stop();
    {
        std::lock_guard<std::mutex> lock(m_socketMutex);
        if (SysUdpSocket* socket = m_socket.load())
            socket->shutdownRead();
    }
    join();
}

void UAppServer::waitForStart()
{
    m_startSemaphore.take(-1);
}

void UAppServer::run()
{
    SysUdpSocket* socket = nullptr;
    bool opened = false;
    {
        std::lock_guard<std::mutex> lock(m_socketMutex);
        if (!shouldStop()) {
            socket = new SysUdpSocket();
            opened = socket->open(UAppComms::APP_SERVER_PORT, SysAddressFamilyIPv4, "AppServer",
                                  "127.0.0.1") == 0;
            m_socket.store(socket);
        }
    }
    m_listening.store(opened);
    m_startSemaphore.give();
    if (!socket)
        return;
    if (!opened) {
        UAppComms::writeLine(
            "UAppServer: cannot listen on 127.0.0.1:65529, screen sharing is off in this process");
        return;
    }

    int failures = 0;
    while (!shouldStop()) {
        unsigned char buffer[4];
        std::memset(buffer, 0, sizeof buffer);
        unsigned short senderPort = 0;
        int n = socket->read(buffer, UAppComms::MESSAGE_LENGTH, nullptr, &senderPort);
        if (n < 0 && shouldStop())
            break;
        handleMessage(buffer, n, senderPort);
        if (n < 0) {
            if (++failures > 1)
                sleepMs(100);
        } else {
            failures = 0;
        }
    }
}

void UAppServer::handleMessage(const unsigned char* buffer, int count, unsigned short senderPort)
{
    if (count != UAppComms::MESSAGE_LENGTH) {
        UAppComms::writeLine(UAppComms::malformedLine(kServerPrefix, count, buffer));
        return;
    }
    switch (static_cast<signed char>(buffer[0])) {
    case UAppComms::REGISTER:
        onRegisterReceived(UApplication::getPhoneletName(static_cast<char>(buffer[1])), senderPort);
        break;
    case UAppComms::REQUEST_SCREEN:
        onRequestScreenReceived(findApp(senderPort));
        break;
    case UAppComms::RELEASE_SCREEN:
        onReleaseScreenReceived(findApp(senderPort));
        break;
    case UAppComms::REQUEST_FULL_SCREEN:
        onRequestFullScreenReceived(findApp(senderPort));
        break;
    case UAppComms::RELEASE_FULL_SCREEN:
        onReleaseFullScreenReceived(findApp(senderPort));
        break;
    case UAppComms::GIVE_SCREEN: {
        // The name is the 8-bit string in bytes 1 and 2, ended by the
        // byte after the datagram, which is always zero.
        char name[3] = {static_cast<char>(buffer[1]), static_cast<char>(buffer[2]), 0};
        onGiveScreenReceived(findApp(UString(name)));
        break;
    }
    default:
        UAppComms::writeLine(UAppComms::unrecognizedLine(kServerPrefix, buffer));
        break;
    }
}

void UAppServer::sendMessage(UAppComms::UAppCommand command, unsigned short port, char* data,
                             int length)
{
    unsigned char datagram[3] = {static_cast<unsigned char>(command), 0, 0};
    if (data) {
        int n = length < 2 ? length : 2;
        for (int i = 0; i < n; ++i)
            datagram[1 + i] = static_cast<unsigned char>(data[i]);
    }
    if (SysUdpSocket* socket = m_socket.load())
        (void)socket->write(datagram, UAppComms::MESSAGE_LENGTH, UAppComms::LOOPBACK_ADDRESS, port);
}

void UAppServer::sendKeyEvent(UKeyEvent event)
{
    char data[2] = {static_cast<char>(event.m_key & 0xFF), static_cast<char>(event.m_state & 0xFF)};
    // Copy the ports under the lock, send with no lock held.
    std::vector<unsigned short> ports;
    {
        std::lock_guard<std::mutex> lock(m_appsMutex);
        ports.reserve(m_apps.size());
        for (const URemoteApp* app : m_apps)
            ports.push_back(app->m_port);
    }
    for (unsigned short port : ports)
        sendMessage(UAppComms::KEY_EVENT, port, data, 2);
}

UAppServer::AppPosition UAppServer::findApp(unsigned short port)
{
    for (AppPosition it = m_apps.begin(); it != m_apps.end(); ++it)
        if ((*it)->m_port == port)
            return it;
    return m_apps.end();
}

UAppServer::AppPosition UAppServer::findApp(const UString& name)
{
    for (AppPosition it = m_apps.begin(); it != m_apps.end(); ++it)
        if ((*it)->m_name == name)
            return it;
    return m_apps.end();
}

void UAppServer::onRegisterReceived(const UString& name, unsigned short port)
{
    if (findApp(name) != m_apps.end())
        return;
    bool only;
    {
        std::lock_guard<std::mutex> lock(m_appsMutex);
        m_apps.push_back(new URemoteApp(name, port));
        only = m_apps.size() == 1;
    }
    if (only) {
        UApplication* app = UApplication::instance();
        if (name == UApplication::DESKTOPPHONELET && app && app->windowManager())
            app->windowManager()->clearArea(0, 0, 191, 47);
        sendMessage(UAppComms::SHOW, port, nullptr, 0);
    }
    UAppComms::writeLine("New client connected: " + name.toUTF8());
}

void UAppServer::onRequestScreenReceived(AppPosition position)
{
    if (position == m_apps.end() || position == m_apps.begin())
        return;
    sendMessage(UAppComms::HIDE, m_apps.front()->m_port, nullptr, 0);
    {
        std::lock_guard<std::mutex> lock(m_appsMutex);
        m_apps.splice(m_apps.begin(), m_apps, position);
    }
    sendMessage(UAppComms::SHOW, (*position)->m_port, nullptr, 0);
}

void UAppServer::onGiveScreenReceived(AppPosition position)
{
    onRequestScreenReceived(position);
}

void UAppServer::onReleaseScreenReceived(AppPosition position)
{
    if (m_apps.size() < 2)
        return;
    if (position != m_apps.begin())
        return;
    URemoteApp* releasing = *position;
    sendMessage(UAppComms::HIDE, releasing->m_port, nullptr, 0);
    {
        std::lock_guard<std::mutex> lock(m_appsMutex);
        m_apps.splice(std::next(m_apps.begin(), 2), m_apps, m_apps.begin());
    }
    sendMessage(UAppComms::SHOW, m_apps.front()->m_port, nullptr, 0);
}

void UAppServer::onRequestFullScreenReceived(AppPosition position)
{
    if (position != m_apps.end() && (*position)->m_name == UApplication::CALLVIEWPHONELET)
        m_callViewFullScreen.store(true);
    AppPosition desktop = findApp(UApplication::DESKTOPPHONELET);
    if (desktop != m_apps.end())
        sendMessage(UAppComms::HIDE, (*desktop)->m_port, nullptr, 0);
    else
        UAppComms::writeLine("Can't find server app:" + UApplication::DESKTOPPHONELET.toUTF8());
}

void UAppServer::onReleaseFullScreenReceived(AppPosition position)
{
    if (position != m_apps.end() && (*position)->m_name == UApplication::CALLVIEWPHONELET)
        m_callViewFullScreen.store(false);
    else if (m_callViewFullScreen.load())
        return;
    AppPosition desktop = findApp(UApplication::DESKTOPPHONELET);
    if (desktop != m_apps.end())
        sendMessage(UAppComms::SHOW, (*desktop)->m_port, nullptr, 0);
    else
        UAppComms::writeLine("Can't find server app:" + UApplication::DESKTOPPHONELET.toUTF8());
}

void UAppServer::onTerminationReceived(AppPosition position)
{
    if (position == m_apps.end())
        return;
    UAppComms::writeLine("UAppServer: Client terminated: " + (*position)->m_name.toUTF8());
    bool wasFront = position == m_apps.begin();
    removeApp(position);
    if (wasFront && !m_apps.empty())
        sendMessage(UAppComms::SHOW, m_apps.front()->m_port, nullptr, 0);
}

void UAppServer::removeApp(AppPosition position)
{
    URemoteApp* app = *position;
    {
        std::lock_guard<std::mutex> lock(m_appsMutex);
        m_apps.erase(position);
    }
    delete app;
}

std::vector<std::pair<UString, unsigned short>> UAppServer::registry()
{
    std::vector<std::pair<UString, unsigned short>> out;
    std::lock_guard<std::mutex> lock(m_appsMutex);
    for (const URemoteApp* app : m_apps)
        out.emplace_back(app->m_name, app->m_port);
    return out;
}
