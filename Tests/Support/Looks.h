#pragma once

#include <QPalette>
#include <QTranslator>

class QWidget;

/*! Makes every text of one context half as long again and recognisable ("Übersetzt: …"), as a wordy language
    does.
*/
class WordyTranslator : public QTranslator
{
public:
    explicit WordyTranslator(const char *context)
        : m_context(context)
    { }

    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *sourceText, const char *disambiguation,
                      int n) const override;

private:
    const char *const m_context;
};

/*! A style whose palette can be changed, with dark colours. */
void useDarkPalette();

/*! The contrast ratio of WCAG 2.1: from 1, the same, to 21, black on white. */
double contrast(const QColor &a, const QColor &b);

/*! Keeps a picture for a person to look at, where MARBLEWICK_TEST_PICTURES names a folder for it. */
void keepPicture(QWidget *window, const QString &name);
