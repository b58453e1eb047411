#include "Platform/QuickLook/CrashReportLayout.h"

#include "Platform/Foundation/NSString.h"
#include "Platform/QuickLook/CrashReportJSON.h"
#include "Platform/QuickLook/CrashReportRegisters.h"

#include <QStringList>

#include <limits>

using namespace Qt::StringLiterals;

namespace Marblewick {

using CrashReportJSON::displayText;
using CrashReportJSON::number;

namespace {

constexpr qsizetype maximumTextSize = 128 * 1024 * 1024;
constexpr qsizetype labelWidth = 23;
constexpr qsizetype addressWidth = 18;
constexpr QLatin1StringView unknown("???");

QString hexadecimal(quint64 value) { return u"0x"_s + QString::number(value, 16); }

QString address(quint64 value) { return hexadecimal(value).rightJustified(addressWidth); }

QString displayTextOrUnknown(const QJsonValue &value) { return displayText(value).value_or(unknown); }

/*! `value opening detail closing`, or as much of it as there is. */
QString joined(const std::optional<QString> &value, QLatin1StringView opening,
               const std::optional<QString> &detail, QLatin1StringView closing)
{
    const QString start = value.value_or(unknown);
    return detail ? start + opening + *detail + closing : start;
}

/*! Text of several lines, each with its control characters escaped. */
QString escapedLines(const QString &lines)
{
    QString result;
    for (const QStringView line : QStringView(lines).trimmed().split(u'\n'))
        result += NSString::escapingControlCharacters(line) + u'\n';
    return result;
}

std::optional<qsizetype> crashedThread(const QJsonObject &body, const QJsonArray &threads)
{
    const std::optional<quint64> faulting = number(body.value("faultingThread"_L1));
    if (faulting && *faulting < static_cast<quint64>(threads.size()))
        return static_cast<qsizetype>(*faulting);
    for (qsizetype i = 0; i < threads.size(); ++i) {
        if (threads.at(i).toObject().value("triggered"_L1).toBool())
            return i;
    }
    return std::nullopt;
}

/*! `name  Dispatch queue: queue`, or as much of it as there is. */
QString threadTitle(const QJsonObject &thread)
{
    QStringList parts;
    if (const auto name = displayText(thread.value("name"_L1)))
        parts += *name;
    if (const auto queue = displayText(thread.value("queue"_L1)))
        parts += u"Dispatch queue: "_s + *queue;
    return parts.join("  "_L1);
}

QString threadHead(qsizetype index, bool isCrashed, const QJsonObject &thread)
{
    const QString title = threadTitle(thread);
    const QString head = u"Thread %1%2:"_s.arg(index).arg(isCrashed ? " Crashed"_L1 : ""_L1);
    return title.isEmpty() ? head : head + u": "_s + title;
}

/*! An empty object where there is no such image. */
QJsonObject imageAt(const QJsonArray &images, std::optional<quint64> index)
{
    const bool isInRange = index && *index < static_cast<quint64>(images.size());
    return isInRange ? images.at(static_cast<qsizetype>(*index)).toObject() : QJsonObject();
}

} // namespace

CrashReportLayout::CrashReportLayout(const QJsonObject &body)
    : m_body(body)
    , m_threads(body.value("threads"_L1).toArray())
    , m_usedImages(body.value("usedImages"_L1).toArray())
    , m_crashedThread(crashedThread(body, m_threads))
{ }

std::optional<QString> CrashReportLayout::text()
{
    appendProcess();
    appendCircumstances();
    appendException();
    appendTermination();
    appendMessages();
    appendThreads();
    appendRegisters();
    appendImages();
    if (isTooLong())
        return std::nullopt;
    return std::move(m_text);
}

bool CrashReportLayout::isTooLong() const { return m_text.size() > maximumTextSize; }

void CrashReportLayout::appendField(const QString &label, const std::optional<QString> &value)
{
    if (value)
        m_text += (label + u':').leftJustified(labelWidth) + *value + u'\n';
}

void CrashReportLayout::appendProcess()
{
    const QJsonObject bundle = m_body.value("bundleInfo"_L1).toObject();
    const auto name = displayText(m_body.value("procName"_L1));
    const auto identifier = displayText(bundle.value("CFBundleIdentifier"_L1));
    const auto version = displayText(bundle.value("CFBundleShortVersionString"_L1));
    const auto build = displayText(bundle.value("CFBundleVersion"_L1));
    appendField(u"Process"_s, joined(name, " ["_L1, displayText(m_body.value("pid"_L1)), "]"_L1));
    appendField(u"Path"_s, displayTextOrUnknown(m_body.value("procPath"_L1)));
    appendField(u"Identifier"_s, identifier ? *identifier : name.value_or(unknown));
    appendField(u"Version"_s, joined(version, " ("_L1, build, ")"_L1));
    appendField(u"Code Type"_s, displayTextOrUnknown(m_body.value("cpuType"_L1)));
    appendField(u"Parent Process"_s, joined(displayText(m_body.value("parentProc"_L1)), " ["_L1,
                                            displayText(m_body.value("parentPid"_L1)), "]"_L1));
    appendField(u"User ID"_s, displayTextOrUnknown(m_body.value("userID"_L1)));
}

void CrashReportLayout::appendCircumstances()
{
    const QJsonObject system = m_body.value("osVersion"_L1).toObject();
    const auto uptime = displayText(m_body.value("uptime"_L1));
    m_text += u'\n';
    appendField(u"Date/Time"_s, displayTextOrUnknown(m_body.value("captureTime"_L1)));
    appendField(u"OS Version"_s, joined(displayText(system.value("train"_L1)), " ("_L1,
                                        displayText(system.value("build"_L1)), ")"_L1));
    appendField(u"Report Version"_s, displayTextOrUnknown(m_body.value("version"_L1)));
    appendField(u"Launch Time"_s, displayText(m_body.value("procLaunch"_L1)));
    appendField(u"Hardware Model"_s, displayText(m_body.value("modelCode"_L1)));
    appendField(u"Time Awake Since Boot"_s, uptime ? std::optional(*uptime + u" seconds"_s) : std::nullopt);
}

void CrashReportLayout::appendException()
{
    const QJsonObject exception = m_body.value("exception"_L1).toObject();
    m_text += u'\n';
    appendField(u"Crashed Thread"_s, crashedThreadTitle());
    m_text += u'\n';
    appendField(u"Exception Type"_s, joined(displayText(exception.value("type"_L1)), " ("_L1,
                                            displayText(exception.value("signal"_L1)), ")"_L1));
    appendField(u"Exception Subtype"_s, displayText(exception.value("subtype"_L1)));
    appendField(u"Exception Codes"_s, displayTextOrUnknown(exception.value("codes"_L1)));
}

QString CrashReportLayout::crashedThreadTitle() const
{
    if (!m_crashedThread)
        return unknown;
    const QJsonObject thread = m_threads.at(*m_crashedThread).toObject();
    const QString title = threadTitle(thread);
    // Two blanks stand before the queue, one before the name.
    const QLatin1StringView separator = title.isEmpty()                        ? ""_L1
                                        : displayText(thread.value("name"_L1)) ? " "_L1
                                                                               : "  "_L1;
    return QString::number(*m_crashedThread) + separator + title;
}

void CrashReportLayout::appendTermination()
{
    const QJsonObject termination = m_body.value("termination"_L1).toObject();
    if (termination.isEmpty())
        return;
    const QString reason = u"Namespace "_s + displayTextOrUnknown(termination.value("namespace"_L1))
                           + u", Code "_s + displayTextOrUnknown(termination.value("code"_L1));
    const auto process = displayText(termination.value("byProc"_L1));
    appendField(u"Termination Reason"_s,
                joined(reason, " "_L1, displayText(termination.value("indicator"_L1)), ""_L1));
    if (process)
        appendField(u"Terminating Process"_s,
                    joined(process, " ["_L1, displayText(termination.value("byPid"_L1)), "]"_L1));
}

void CrashReportLayout::appendMessages()
{
    const QString region = m_body.value("vmRegionInfo"_L1).toString();
    if (!region.isEmpty())
        m_text += u"\nVM Region Info:\n"_s + escapedLines(region);
    const QJsonObject messagesOfImages = m_body.value("asi"_L1).toObject();
    if (!messagesOfImages.isEmpty())
        m_text += u"\nApplication Specific Information:\n"_s;
    for (const QJsonValue messages : messagesOfImages) {
        const QJsonArray array = messages.toArray();
        for (const QJsonValue message : array)
            m_text += escapedLines(message.toString());
    }
}

void CrashReportLayout::appendThreads()
{
    for (qsizetype i = 0; i < m_threads.size() && !isTooLong(); ++i) {
        const QJsonObject thread = m_threads.at(i).toObject();
        m_text += u'\n' + threadHead(i, i == m_crashedThread, thread) + u'\n';
        const QJsonArray frames = thread.value("frames"_L1).toArray();
        for (qsizetype j = 0; j < frames.size() && !isTooLong(); ++j)
            appendFrame(j, frames.at(j).toObject());
    }
}

void CrashReportLayout::appendFrame(qsizetype index, const QJsonObject &frame)
{
    const QJsonObject image = imageAt(m_usedImages, number(frame.value("imageIndex"_L1)));
    const quint64 base = number(image.value("base"_L1)).value_or(0);
    const quint64 offset = number(frame.value("imageOffset"_L1)).value_or(0);
    const auto symbol = displayText(frame.value("symbol"_L1));
    const auto line = displayText(frame.value("sourceLine"_L1));

    m_text += QString::number(index).leftJustified(4)
              + displayTextOrUnknown(image.value("name"_L1)).leftJustified(30) + u'\t'
              + address(base + offset) + u' ';
    if (symbol)
        m_text += joined(symbol, " + "_L1, displayText(frame.value("symbolLocation"_L1)), ""_L1);
    else
        m_text += hexadecimal(base) + u" + "_s + QString::number(offset);
    if (line)
        m_text += u" ("_s + displayTextOrUnknown(frame.value("sourceFile"_L1)) + u':' + *line + u')';
    if (frame.value("inline"_L1).toBool())
        m_text += u" [inlined]"_s;
    m_text += u'\n';
}

void CrashReportLayout::appendRegisters()
{
    if (!m_crashedThread)
        return;
    const QJsonObject state = m_threads.at(*m_crashedThread).toObject().value("threadState"_L1).toObject();
    if (!state.isEmpty())
        m_text += u"\nThread %1 crashed with "_s.arg(*m_crashedThread) + textOfRegisters(state);
}

void CrashReportLayout::appendImages()
{
    m_text += u"\nBinary Images:\n"_s;
    for (qsizetype i = 0; i < m_usedImages.size() && !isTooLong(); ++i) {
        const QJsonObject image = m_usedImages.at(i).toObject();
        const quint64 base = number(image.value("base"_L1)).value_or(0);
        const QString name = displayTextOrUnknown(image.value("name"_L1));
        const quint64 size = number(image.value("size"_L1)).value_or(0);
        const quint64 last = size == 0 ? std::numeric_limits<quint64>::max() : base + size - 1;
        m_text += address(base) + u" - "_s + address(last) + u' '
                  + displayText(image.value("CFBundleIdentifier"_L1)).value_or(name) + u" ("_s
                  + displayText(image.value("CFBundleShortVersionString"_L1)).value_or(u"*"_s) + u") <"_s
                  + displayTextOrUnknown(image.value("uuid"_L1)) + u"> "_s
                  + displayTextOrUnknown(image.value("path"_L1)) + u'\n';
    }
}

} // namespace Marblewick
