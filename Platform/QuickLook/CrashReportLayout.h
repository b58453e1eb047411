#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <optional>

namespace Marblewick {

/*! Lays out the JSON body of a crash report as the text that a person reads. Used once. */
class CrashReportLayout
{
public:
    explicit CrashReportLayout(const QJsonObject &body);

    /*! Nil where the text would be longer than 134,217,728 UTF-16 code units: one long image name that
        many frames refer to makes it any length.
    */
    std::optional<QString> text();

private:
    bool isTooLong() const;
    /*! Appends a line; without a value there is none. */
    void appendField(const QString &label, const std::optional<QString> &value);
    void appendProcess();
    void appendCircumstances();
    void appendException();
    QString crashedThreadTitle() const;
    void appendTermination();
    void appendMessages();
    void appendThreads();
    void appendFrame(qsizetype index, const QJsonObject &frame);
    void appendRegisters();
    void appendImages();

    const QJsonObject m_body;
    const QJsonArray m_threads;
    const QJsonArray m_usedImages;
    const std::optional<qsizetype> m_crashedThread; ///< index in m_threads
    QString m_text;
};

} // namespace Marblewick
