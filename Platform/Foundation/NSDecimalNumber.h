#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QString>

namespace Marblewick {

/*! Name of the exception for a result whose first digit is too far in front of the decimal point. */
inline constexpr QLatin1StringView NSDecimalNumberOverflowException("NSDecimalNumberOverflowException");

/*! Name of the exception for a result that is not exact. */
inline constexpr QLatin1StringView NSDecimalNumberExactnessException("NSDecimalNumberExactnessException");

/*! Which of the nearest numbers is taken. */
enum class NSRoundingMode {
    Plain = 0, ///< the nearest one; of two, that which is farther from zero
};

/*! How numbers are rounded, and what is raised then. */
struct NSDecimalNumberHandler
{
    NSRoundingMode roundingMode = NSRoundingMode::Plain;
    /*! How many digits stay after the decimal point; with a negative scale, zeros before it. */
    qint16 scale = 0;
    /*! Whether a number that is changed by rounding raises NSDecimalNumberExactnessException. */
    bool raiseOnExactness = false;
    /*! Whether a number of more than 165 digits before the point raises NSDecimalNumberOverflowException;
        otherwise it becomes "not a number".
    */
    bool raiseOnOverflow = true;
    /*! Rounding makes no number too small to be held, and divides by none: these two never come to bear. */
    bool raiseOnUnderflow = true;
    bool raiseOnDivideByZero = true;
};

/*! A decimal number, exact in each digit. It is equal to every other of the same value (1.50 to 1.5, -0 to
    0), and "not a number" is equal to itself. Any thread.
*/
class MARBLEWICK_CORE_EXPORT NSDecimalNumber
{
public:
    /*! The number that a text of ASCII digits stands for, with a sign before it or not, and with a point or
       not ("-0.25"). Any other text is "not a number".
    */
    static NSDecimalNumber decimalNumberWithString(QStringView text);

    NSDecimalNumber decimalNumberByRoundingAccordingToBehavior(const NSDecimalNumberHandler &behavior) const;

    /*! The digits, without any zeros that say nothing: "-0.25", "1200"; "NaN" for "not a number". */
    QString stringValue() const;

    friend bool operator==(const NSDecimalNumber &, const NSDecimalNumber &) = default;

private:
    NSDecimalNumber(bool isNegative, const QByteArray &digits, qsizetype exponent);
    static NSDecimalNumber notANumber();

    /*! The value is that of the digits times 10^exponent. The digits begin and end with no zero, and 0 has
        none.
    */
    bool m_isNumber = true;
    bool m_isNegative = false;
    QByteArray m_digits;
    qsizetype m_exponent = 0;
};

} // namespace Marblewick
