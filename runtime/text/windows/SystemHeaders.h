#pragma once

/// The system's headers, sockets first as they must be, and without the macros that would rename functions of ours.
#include <winsock2.h>

#include <ws2tcpip.h>

#include <windows.h>

#undef GetUserName
