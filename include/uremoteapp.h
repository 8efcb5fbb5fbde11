// URemoteApp: the screen server's record of one registered client: the
// name it registered under (possibly empty) and the UDP port of its socket,
// which is its identity on the wire. Created and owned by UAppServer.
#ifndef UREMOTEAPP_H
#define UREMOTEAPP_H

#include "utkexport.h"

#include "ustring.h"

class UTK_EXPORT URemoteApp {
public:
    URemoteApp(const UString& name, unsigned short port);
    virtual ~URemoteApp();
    URemoteApp(const URemoteApp&) = delete;
    URemoteApp& operator=(const URemoteApp&) = delete;

    UString m_name;
    unsigned short m_port;
};

#endif
