#include "uremoteapp.h"

URemoteApp::URemoteApp(const UString& name, unsigned short port) : m_name(name), m_port(port) {}

URemoteApp::~URemoteApp() {}
