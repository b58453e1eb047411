#include "Platform/Foundation/NSDecimalNumber.h"

#include "Platform/Foundation/NSException.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

/*! The platform's numbers have 38 digits before up to 127 zeros. */
constexpr qsizetype maximumIntegerDigits = 38 + 127;

bool isDigit(char character) { return character >= '0' && character <= '9'; }

/*! Adds one to the last digit. */
void increment(QByteArray &digits)
{
    for (qsizetype i = digits.size() - 1; i >= 0; --i) {
        if (digits[i] != '9') {
            ++digits[i];
            return;
        }
        digits[i] = '0';
    }
    digits.prepend('1');
}

} // namespace

NSDecimalNumber::NSDecimalNumber(bool isNegative, const QByteArray &digits, qsizetype exponent)
{
    const auto isZero = [](char digit) { return digit == '0'; };
    const auto first = std::find_if_not(digits.begin(), digits.end(), isZero);
    if (first == digits.end())
        return;
    const auto last = std::find_if_not(digits.rbegin(), digits.rend(), isZero).base();
    m_isNegative = isNegative;
    m_digits = QByteArray(first, last - first);
    m_exponent = exponent + (digits.end() - last);
}

NSDecimalNumber NSDecimalNumber::notANumber()
{
    NSDecimalNumber number(false, {}, 0);
    number.m_isNumber = false;
    return number;
}

NSDecimalNumber NSDecimalNumber::decimalNumberWithString(QStringView text)
{
    const bool hasSign = text.startsWith(u'-') || text.startsWith(u'+');
    QByteArray digits = text.sliced(hasSign ? 1 : 0).toLatin1();
    const qsizetype point = digits.indexOf('.');
    const qsizetype decimals = point < 0 ? 0 : digits.size() - point - 1;
    if (point >= 0)
        digits.remove(point, 1);
    if (digits.isEmpty() || !std::ranges::all_of(digits, isDigit))
        return notANumber();
    return {text.startsWith(u'-'), digits, -decimals};
}

NSDecimalNumber NSDecimalNumber::decimalNumberByRoundingAccordingToBehavior(
    const NSDecimalNumberHandler &behavior) const
{
    if (!m_isNumber)
        return *this;
    NSDecimalNumber rounded = *this;
    const qsizetype dropped = -behavior.scale - m_exponent; // digits behind the last one that stays
    if (dropped > 0 && !m_digits.isEmpty() && behavior.raiseOnExactness)
        throw NSException(NSDecimalNumberExactnessException, u"A number has more digits than are kept"_s);
    if (dropped > m_digits.size())
        return {false, {}, 0};
    if (dropped > 0) {
        QByteArray digits = m_digits.chopped(dropped);
        if (m_digits[digits.size()] >= '5')
            increment(digits);
        rounded = {m_isNegative, digits, -behavior.scale};
    }
    if (rounded.m_digits.size() + rounded.m_exponent <= maximumIntegerDigits)
        return rounded;
    if (behavior.raiseOnOverflow)
        throw NSException(NSDecimalNumberOverflowException, u"A number is too large to be rounded"_s);
    return notANumber();
}

QString NSDecimalNumber::stringValue() const
{
    if (!m_isNumber)
        return u"NaN"_s;
    QByteArray text = m_digits + QByteArray(qMax(m_exponent, qsizetype(0)), '0');
    const qsizetype decimals = qMax(-m_exponent, qsizetype(0));
    text = text.rightJustified(decimals + 1, '0');
    if (decimals > 0)
        text.insert(text.size() - decimals, '.');
    return QString::fromLatin1(m_isNegative ? '-' + text : text);
}

} // namespace Marblewick
