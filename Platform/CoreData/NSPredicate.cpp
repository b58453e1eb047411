#include "Platform/CoreData/NSPredicate.h"

#include "Platform/CoreData/NSManagedObject.h"
#include "Platform/Foundation/NSException.h"
#include "Platform/Foundation/NSURL.h"

#include <QRegularExpression>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

/*! The path of a URL that a value holds; nil for nil. */
QVariant pathOf(const QVariant &value) { return value.isValid() ? NSURL::path(value.toUrl()) : QVariant(); }

} // namespace

NSPredicate NSPredicate::predicateWithFormat(const QString &format, const QVariant &argument)
{
    static const QRegularExpression comparison(
        QRegularExpression::anchoredPattern(u"(\\w+)(\\.path)? == (YES|NO|%@)"_s));
    const QRegularExpressionMatch match = comparison.match(format);
    if (!match.hasMatch())
        throw NSException(NSInvalidArgumentException,
                          u"Unable to parse the format string \"%1\""_s.arg(format));
    const QString constant = match.captured(3);
    return NSPredicate(match.captured(1), match.hasCaptured(2),
                       constant == "%@"_L1 ? argument : QVariant(constant == "YES"_L1));
}

NSPredicate::NSPredicate(const QString &key, bool isPath, const QVariant &constant)
    : m_key(key)
    , m_isPath(isPath)
    , m_constant(constant)
{ }

bool NSPredicate::evaluateWithObject(NSManagedObject &object) const
{
    const QVariant value = object.valueForKey(m_key);
    return m_isPath ? pathOf(value) == m_constant : value == m_constant;
}

} // namespace Marblewick
