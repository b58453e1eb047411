#include "Platform/QuickLook/CrashReportRegisters.h"

#include "Platform/Foundation/NSString.h"
#include "Platform/QuickLook/CrashReportJSON.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <iterator>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

constexpr qsizetype registersInRow = 4;
// A long key of a long array would stand before every element of it.
constexpr qsizetype maximumNameLength = 32;

// "x" is an array: x0 to x28. esr and trap stand last because a description follows their value.
constexpr QLatin1StringView usualOrder[] = {
    "x"_L1,   "fp"_L1,  "lr"_L1,  "sp"_L1,  "pc"_L1,  "cpsr"_L1,   "far"_L1, "esr"_L1, "rax"_L1, "rbx"_L1,
    "rcx"_L1, "rdx"_L1, "rdi"_L1, "rsi"_L1, "rbp"_L1, "rsp"_L1,    "r8"_L1,  "r9"_L1,  "r10"_L1, "r11"_L1,
    "r12"_L1, "r13"_L1, "r14"_L1, "r15"_L1, "rip"_L1, "rflags"_L1, "cr2"_L1, "cpu"_L1, "err"_L1, "trap"_L1,
};

QString titleOfFlavor(const QJsonValue &flavor)
{
    const QString name = CrashReportJSON::displayText(flavor).value_or(u"???"_s);
    if (name == "ARM_THREAD_STATE64"_L1)
        return u"ARM Thread State (64-bit)"_s;
    return name == "x86_THREAD_STATE"_L1 ? u"X86 Thread State (64-bit)"_s : name;
}

/*! The rows of registers, as far as they are filled. */
class Rows
{
public:
    void append(const QString &name, const QJsonValue &state)
    {
        const QJsonObject object = state.toObject();
        const auto value = CrashReportJSON::number(object.value("value"_L1));
        if (!value)
            return;
        m_text += name.rightJustified(6) + u": 0x"_s + QString::number(*value, 16).rightJustified(16, u'0');
        if (const auto description = CrashReportJSON::displayText(object.value("description"_L1)))
            m_text += u' ' + description->trimmed();
        m_text += ++m_count % registersInRow == 0 ? u'\n' : u' ';
    }

    QString text() const
    {
        const bool isLastRowOpen = m_count % registersInRow != 0;
        return isLastRowOpen ? m_text.chopped(1) + u'\n' : m_text;
    }

private:
    QString m_text;
    qsizetype m_count = 0;
};

void append(Rows &rows, const QString &key, const QJsonValue &value)
{
    const QString name = NSString::escapingControlCharacters(key.left(maximumNameLength));
    if (!value.isArray())
        return rows.append(name, value);
    const QJsonArray array = value.toArray();
    for (qsizetype i = 0; i < array.size(); ++i)
        rows.append(name + QString::number(i), array.at(i));
}

} // namespace

QString textOfRegisters(const QJsonObject &threadState)
{
    Rows rows;
    for (const QLatin1StringView key : usualOrder)
        append(rows, key, threadState.value(key));
    for (auto it = threadState.begin(); it != threadState.end(); ++it) {
        if (std::ranges::find(usualOrder, it.key()) == std::end(usualOrder))
            append(rows, it.key(), it.value());
    }
    return titleOfFlavor(threadState.value("flavor"_L1)) + u":\n"_s + rows.text();
}

} // namespace Marblewick
