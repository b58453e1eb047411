#include "Tests/Support/WindowLooks.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QBitmap>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStyleFactory>
#include <QTextBrowser>

#include <cmath>

using namespace Qt::StringLiterals;

QString WordyTranslator::translate(const char *context, const char *sourceText, const char *, int) const
{
    if (qstrcmp(context, m_context) != 0)
        return {};
    const QString text = QString::fromUtf8(sourceText);
    const QString more = text.left(text.size() / 2).remove(u'&').remove(u"%1"_s).remove(u"%@"_s);
    return u"Übersetzt: "_s + text + u' ' + more;
}

void useDarkPalette()
{
    QPalette palette(QColor(53, 53, 53));
    palette.setColor(QPalette::Base, QColor(35, 35, 35));
    palette.setColor(QPalette::Highlight, QColor(42, 130, 218));
    QApplication::setStyle(QStyleFactory::create(u"Fusion"_s));
    QApplication::setPalette(palette);
}

double contrast(const QColor &a, const QColor &b)
{
    const auto luminance = [](const QColor &color) {
        const auto linear = [](double channel) {
            return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF())
               + 0.0722 * linear(color.blueF());
    };
    const double brighter = std::max(luminance(a), luminance(b));
    const double darker = std::min(luminance(a), luminance(b));
    return (brighter + 0.05) / (darker + 0.05);
}

void expectThatEveryTextIsReadable(const QWidget *window)
{
    for (const QWidget *const widget : window->findChildren<QWidget *>()) {
        const QPalette palette = widget->palette();
        const bool isField = qobject_cast<const QLineEdit *>(widget)
                             || qobject_cast<const QPlainTextEdit *>(widget)
                             || qobject_cast<const QTextBrowser *>(widget);
        const QColor text = palette.color(isField ? QPalette::Text : QPalette::WindowText);
        const QColor background = palette.color(isField ? QPalette::Base : QPalette::Window);
        EXPECT_GE(contrast(text, background), 4.5) << qPrintable(widget->objectName());
    }
}

namespace {

template <typename Widget>
QList<Widget *> visibleParts(const QWidget *window)
{
    QList<Widget *> parts = window->findChildren<Widget *>();
    parts.removeIf([](const Widget *part) { return !part->isVisible(); });
    return parts;
}

void expectThatItHasItsOwnPlace(const QWidget *part)
{
    const QWidget *const parent = part->parentWidget();
    EXPECT_TRUE(parent->rect().contains(part->geometry())) << qPrintable(part->objectName());
    for (const QWidget *const other : parent->findChildren<QWidget *>(Qt::FindDirectChildrenOnly))
        EXPECT_TRUE(other == part || !other->isVisible() || !other->geometry().intersects(part->geometry()))
            << qPrintable(other->objectName()) << " lies over " << qPrintable(part->objectName());
}

/*! Where the last line of a label's text is drawn, in points. */
QRect lastLineOf(QLabel *label)
{
    QImage image(label->size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    label->render(&image, {}, {}, QWidget::RenderFlags());
    const QRegion ink(QBitmap::fromImage(image.createAlphaMask()));
    const QRect text = ink.boundingRect();
    const int lineHeight = label->fontMetrics().height();
    return (ink & text.adjusted(0, qMax(0, text.height() - lineHeight * 3 / 4), 0, 0)).boundingRect();
}

} // namespace

void expectThatNothingIsCutOffOrCovered(const QWidget *window)
{
    const auto labels = visibleParts<QLabel>(window);
    for (const QLabel *const label : labels) {
        EXPECT_GE(label->height(), label->heightForWidth(label->width())) << qPrintable(label->text());
        expectThatItHasItsOwnPlace(label);
    }
    EXPECT_GE(labels.size(), 2);
    for (const QPushButton *const button : visibleParts<QPushButton>(window)) {
        EXPECT_GE(button->width(), button->fontMetrics().size(Qt::TextShowMnemonic, button->text()).width())
            << qPrintable(button->text());
        expectThatItHasItsOwnPlace(button);
    }
    for (const QTextBrowser *const browser : visibleParts<QTextBrowser>(window))
        expectThatItHasItsOwnPlace(browser);
}

void expectThatTextsLieWhereLinesBegin(const QWidget *window)
{
    qsizetype texts = 0;
    for (QLabel *const label : visibleParts<QLabel>(window)) {
        if (label->text().isEmpty())
            continue;
        ++texts;
        const QRect ink = lastLineOf(label);
        ASSERT_FALSE(ink.isEmpty()) << qPrintable(label->text());
        const bool isMirrored = window->layoutDirection() == Qt::RightToLeft;
        EXPECT_LE(isMirrored ? label->width() - 1 - ink.right() : ink.left(), 4) << qPrintable(label->text());
    }
    EXPECT_GE(texts, 2);
}

void keepPicture(QWidget *window, const QString &name)
{
    const QString folder = qEnvironmentVariable("MARBLEWICK_TEST_PICTURES");
    if (folder.isEmpty())
        return;
    EXPECT_TRUE(QDir().mkpath(folder));
    EXPECT_TRUE(window->grab().save(folder + u'/' + name + u".png"_s));
}
