#pragma once

#include <memory>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/kdf.h>

namespace Marblewick {

/*! Frees an object of OpenSSL's by the function that belongs to its type. */
template <auto function>
struct OpenSSLFree
{
    template <typename Object>
    void operator()(Object *object) const
    {
        function(object);
    }
};

template <typename Object, auto function>
using OpenSSLHandle = std::unique_ptr<Object, OpenSSLFree<function>>;

/*! Takes back, at its end, the errors that OpenSSL has queued for this thread since: a host that uses OpenSSL
    itself would take them for its own.
*/
class OpenSSLErrorsTakenBack
{
public:
    OpenSSLErrorsTakenBack() { ::ERR_set_mark(); }
    ~OpenSSLErrorsTakenBack() { ::ERR_pop_to_mark(); }
    OpenSSLErrorsTakenBack(const OpenSSLErrorsTakenBack &) = delete;
    OpenSSLErrorsTakenBack &operator=(const OpenSSLErrorsTakenBack &) = delete;
};

} // namespace Marblewick
