#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QString>

#include <optional>

/*! Builds the query of a URL, one parameter at a time:

    ```cpp
    QString query;
    URLExtensions::appendParameterStringValue(query, "product", "Cartographer");
    URLExtensions::appendParameterIntegerValue(query, "build", 412);
    // product=Cartographer&build=412
    ```

    `query` is changed in place. It holds the parameters alone, without the leading question mark: the only
    thing that decides about the "&" is whether it is empty.

    Names are appended as they are. A nil name or value prints `(null)`. No locale has a part in any of it.
    Stateless; any thread.
*/
namespace URLExtensions {

/*! What goes between `query` and its next parameter: "&", or nothing where `query` is empty. */
MARBLEWICK_CORE_EXPORT QString parameterAmpersand(const QString &query);

/*! Appends `name=value` with the value percent-encoded: each byte of the UTF-8 form of a character other
    than the ASCII letters and digits and `!$&'()*+,-./:;=?@_~` becomes "%" and two upper-case hexadecimal
    digits. So "&", "=", "?" and "+" stay, and a value that holds them reads back as something else.

    A value with an unpaired surrogate has no UTF-8 form. It counts as nil and prints `(null)`.
*/
MARBLEWICK_CORE_EXPORT void appendParameterStringValue(QString &query, const std::optional<QString> &name,
                                                       const std::optional<QString> &value);

/*! Appends `name=value` in decimal, a negative value with a minus sign. */
MARBLEWICK_CORE_EXPORT void appendParameterIntegerValue(QString &query, const std::optional<QString> &name,
                                                        qint64 value);

/*! Appends `name=value` in decimal with `precision` digits after the decimal point, and no point where that
    is 0. A negative precision counts as 6; above 1,000,000 it counts as that.

    The value is rounded as printf() rounds it: exactly, and half to even. The digits are those of the float
    itself, so 0.1 with ten of them is 0.1000000015. What is no number is `nan`, `inf` or `-inf`.
*/
MARBLEWICK_CORE_EXPORT void appendParameterFloatValue(QString &query, const std::optional<QString> &name,
                                                      float value, qint32 precision);

/*! Appends `name=true` or `name=false`. */
MARBLEWICK_CORE_EXPORT void appendParameterBoolValue(QString &query, const std::optional<QString> &name,
                                                     bool value);

} // namespace URLExtensions
