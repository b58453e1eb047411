#include "Platform/Foundation/HTTP/CurlClient.h"

extern "C" Q_DECL_EXPORT Marblewick::HTTPClient *marblewickCreateHTTPClient();

Marblewick::HTTPClient *marblewickCreateHTTPClient() { return Marblewick::CurlClient::create().release(); }
