#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QString>

namespace Marblewick {

/*! Reads values from a string, one after another. Belongs to one thread at a time. */
class MARBLEWICK_CORE_EXPORT NSScanner
{
public:
    explicit NSScanner(const QString &string)
        : m_string(string)
    { }

    /*! Reads a hexadecimal number, with or without `0x` in front, after any white space. Of a number that
       needs more, the low 32 bits are the value. False, with nothing read but the white space, where there is
       none.
    */
    bool scanHexInt(quint32 *value);

private:
    const QString m_string;
    qsizetype m_position = 0;
};

} // namespace Marblewick
