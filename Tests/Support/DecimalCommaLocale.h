#pragma once

#include <QTemporaryDir>

/*! From construction on, the C library's locale is German, with a decimal comma.

    The machine need not have it, so it is compiled from the sources in Debian's package "locales".
*/
class DecimalCommaLocale
{
public:
    DecimalCommaLocale();

    /*! Whether numbers are now printed with a comma. */
    bool isUsed() const;

private:
    const QTemporaryDir m_folder;
};
