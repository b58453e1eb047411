#include "Platform/CommonCrypto/OpenSSL/OpenSSLCrypto.h"

#include <QtGlobal>

extern "C" Q_DECL_EXPORT Marblewick::CryptoLibrary *marblewickCreateCryptoLibrary();

Marblewick::CryptoLibrary *marblewickCreateCryptoLibrary()
{
    // Digests work up to the end of the process: in other threads, and after OpenSSL would have cleaned up.
    ::OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
    return Marblewick::OpenSSLCrypto::create().release();
}
