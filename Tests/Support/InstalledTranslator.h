#pragma once

#include <QCoreApplication>
#include <QTranslator>

/*! A translator of one text, installed from construction to destruction. */
class InstalledTranslator : public QTranslator
{
public:
    InstalledTranslator(const char *context, const char *source, const QString &translation)
        : m_context(context)
        , m_source(source)
        , m_translation(translation)
    {
        QCoreApplication::installTranslator(this);
    }

    QString translate(const char *context, const char *source, const char *, int) const override
    {
        return m_context == context && m_source == source ? m_translation : QString();
    }
    bool isEmpty() const override { return false; }

private:
    const QByteArray m_context;
    const QByteArray m_source;
    const QString m_translation;
};
