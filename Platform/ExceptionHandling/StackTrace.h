#pragma once

#include <QString>

#include <array>
#include <span>

namespace Marblewick {

/*! The return addresses of a stack, from the innermost. Of a deeper one than 128 frames, the outermost are
   left out.
*/
class StackTrace
{
public:
    StackTrace() = default;
    /*! The stack of the calling thread, from the frame in which `returnAddress` is. */
    explicit StackTrace(const void *returnAddress);

    bool isEmpty() const { return m_count == 0; }
    /*! Leaves out what the language runtime has called: the frames before the first of its own, where it has
        any, such as those of a terminate handler that the host has put in front.
    */
    void removeFramesInsideRuntime();
    /*! Leaves out the language runtime's frames before the first other one. They throw, where a host asks for
       what cannot be, and call std::terminate().
    */
    void removeInnerRuntimeFrames();
    /*! Hexadecimal, with `0x` and with blanks between them. */
    QString addressString() const;

private:
    std::span<void *const> addresses() const { return std::span(m_addresses).first(m_count); }
    void removeInnerFrames(std::size_t count);

    std::array<void *, 128> m_addresses;
    std::size_t m_count = 0;
};

} // namespace Marblewick
