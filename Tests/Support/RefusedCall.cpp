#include "Tests/Support/RefusedCall.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <fcntl.h>
#include <openssl/evp.h>
#include <openssl/kdf.h>
#include <sys/random.h>

static_assert(RefusedCall::errorNumber == ENOSYS);

namespace {

std::array<std::atomic<bool>, RefusedCall::FunctionCount> refused;

/*! OpenSSL's own function; whether the program or only the plugin links the library. */
template <typename Function>
Function original(Function, const char *name)
{
    static void *const library = ::dlopen("libcrypto.so.3", RTLD_NOW | RTLD_LOCAL);
    return reinterpret_cast<Function>(::dlsym(library, name));
}

} // namespace

RefusedCall::RefusedCall(Function function)
    : m_function(function)
{
    refused[m_function] = true;
}

RefusedCall::~RefusedCall() { refused[m_function] = false; }

// These stand in front of the libraries' functions.
#pragma GCC visibility push(default)

extern "C" ssize_t getrandom(void *buffer, size_t length, unsigned int flags)
{
    if (refused[RefusedCall::GetRandom]) {
        errno = RefusedCall::errorNumber;
        return -1;
    }
    static const auto next = reinterpret_cast<decltype(&getrandom)>(::dlsym(RTLD_NEXT, "getrandom"));
    return next(buffer, length, flags);
}

extern "C" int name_to_handle_at(int folder, const char *path, file_handle *handle, int *mount,
                                 int flags) noexcept
{
    if (refused[RefusedCall::NameToHandle]) {
        errno = RefusedCall::errorNumber;
        return -1;
    }
    static const auto next = reinterpret_cast<decltype(&name_to_handle_at)>(
        ::dlsym(RTLD_NEXT, "name_to_handle_at"));
    return next(folder, path, handle, mount, flags);
}

extern "C" int EVP_DigestInit_ex2(EVP_MD_CTX *context, const EVP_MD *type, const OSSL_PARAM parameters[])
{
    static const auto next = original(&EVP_DigestInit_ex2, "EVP_DigestInit_ex2");
    return refused[RefusedCall::DigestInit] ? 0 : next(context, type, parameters);
}

extern "C" int EVP_MAC_init(EVP_MAC_CTX *context, const unsigned char *key, size_t keySize,
                            const OSSL_PARAM parameters[])
{
    static const auto next = original(&EVP_MAC_init, "EVP_MAC_init");
    return refused[RefusedCall::MacInit] ? 0 : next(context, key, keySize, parameters);
}

extern "C" int EVP_KDF_derive(EVP_KDF_CTX *context, unsigned char *key, size_t keySize,
                              const OSSL_PARAM parameters[])
{
    static const auto next = original(&EVP_KDF_derive, "EVP_KDF_derive");
    return refused[RefusedCall::KeyDerivation] ? 0 : next(context, key, keySize, parameters);
}

extern "C" int EVP_CipherInit_ex2(EVP_CIPHER_CTX *context, const EVP_CIPHER *type, const unsigned char *key,
                                  const unsigned char *initializationVector, int isEncryption,
                                  const OSSL_PARAM parameters[])
{
    static const auto next = original(&EVP_CipherInit_ex2, "EVP_CipherInit_ex2");
    return refused[RefusedCall::CipherInit]
               ? 0
               : next(context, type, key, initializationVector, isEncryption, parameters);
}

extern "C" int EVP_CipherUpdate(EVP_CIPHER_CTX *context, unsigned char *output, int *outputSize,
                                const unsigned char *input, int inputSize)
{
    static const auto next = original(&EVP_CipherUpdate, "EVP_CipherUpdate");
    return refused[RefusedCall::CipherUpdate] ? 0 : next(context, output, outputSize, input, inputSize);
}

#pragma GCC visibility pop
