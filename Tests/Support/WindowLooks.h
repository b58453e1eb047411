#pragma once

#include <QColor>
#include <QTranslator>
#include <QWidget>

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
    QString translate(const char *context, const char *sourceText, const char *, int) const override;

private:
    const char *const m_context;
};

/*! A style whose palette can be changed, with dark colours. */
void useDarkPalette();

/*! The contrast ratio of WCAG 2.1: from 1, the same, to 21, black on white. */
double contrast(const QColor &a, const QColor &b);

/*! Fails where the text of a widget has too little contrast to be read easily (below 4.5, by WCAG 2.1). */
void expectThatEveryTextIsReadable(const QWidget *window);

/*! Fails where a label or a button has too little room for its text, or two widgets lie over each other. */
void expectThatNothingIsCutOffOrCovered(const QWidget *window);

/*! Fails where the last line of a label, which is the shortest, is not at the side where the window's lines
   begin: the left one, or the right one of a mirrored window.
*/
void expectThatTextsLieWhereLinesBegin(const QWidget *window);

/*! Keeps a picture for a person to look at, where MARBLEWICK_TEST_PICTURES names a folder for it. */
void keepPicture(QWidget *window, const QString &name);
