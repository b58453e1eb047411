#pragma once

/*! Makes a function of the system's or of OpenSSL's fail, from construction to destruction, as neither can be
    made to fail on demand. The test program links with marblewick_refusable_calls.
*/
class RefusedCall
{
public:
    enum Function {
        DigestInit,
        MacInit,
        KeyDerivation,
        CipherInit,
        CipherUpdate,
        GetRandom,
        NameToHandle,
        FunctionCount
    };

    explicit RefusedCall(Function function);
    ~RefusedCall();
    RefusedCall(const RefusedCall &) = delete;
    RefusedCall &operator=(const RefusedCall &) = delete;

    /*! What `errno` is after a call of GetRandom or NameToHandle; OpenSSL's functions only return 0. */
    static constexpr int errorNumber = 38; // ENOSYS, which a kernel without the call gives

private:
    const Function m_function;
};
