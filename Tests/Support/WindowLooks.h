#pragma once

#include <QPalette>
#include <QTranslator>
#include <QWidget>

/*! Makes every text of one context half as long again and recognisable, as a wordy language does. */
class WordyTranslator : public QTranslator
{
public:
    explicit WordyTranslator(const char *context)
        : m_context(context)
    { }

    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *sourceText, const char *, int) const override;

private:
    const char *const m_context;
};

QPalette darkPalette();

/*! Fails where the text of a widget has too little contrast to be read easily (below 4.5, by WCAG 2.1). */
void expectThatEveryTextIsReadable(const QWidget *window);

/*! Fails where a label or a button has too little room for its text, or two widgets lie over each other. */
void expectThatNothingIsCutOffOrCovered(const QWidget *window);

/*! Keeps a picture for a person to look at, where MARBLEWICK_TEST_PICTURES names a folder for it. */
void keepPicture(QWidget *window, const QString &name);
