#include "Tests/Support/WindowLooks.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStyleFactory>

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
                             || qobject_cast<const QPlainTextEdit *>(widget);
        const QColor text = palette.color(isField ? QPalette::Text : QPalette::WindowText);
        const QColor background = palette.color(isField ? QPalette::Base : QPalette::Window);
        EXPECT_GE(contrast(text, background), 4.5) << qPrintable(widget->objectName());
    }
}

void expectThatNothingIsCutOffOrCovered(const QWidget *window)
{
    qsizetype labels = 0;
    for (const QLabel *const label : window->findChildren<QLabel *>()) {
        if (!label->isVisible())
            continue;
        ++labels;
        EXPECT_GE(label->height(), label->heightForWidth(label->width())) << qPrintable(label->text());
        EXPECT_TRUE(label->parentWidget()->rect().contains(label->geometry())) << qPrintable(label->text());
        for (const QWidget *const other :
             label->parentWidget()->findChildren<QWidget *>(Qt::FindDirectChildrenOnly))
            EXPECT_TRUE(other == label || !other->isVisible()
                        || !other->geometry().intersects(label->geometry()))
                << qPrintable(other->objectName()) << " lies over " << qPrintable(label->objectName());
    }
    EXPECT_GE(labels, 2);
    for (const QPushButton *const button : window->findChildren<QPushButton *>())
        EXPECT_TRUE(!button->isVisible()
                    || button->width()
                           >= button->fontMetrics().size(Qt::TextShowMnemonic, button->text()).width())
            << qPrintable(button->text());
}

void keepPicture(QWidget *window, const QString &name)
{
    const QString folder = qEnvironmentVariable("MARBLEWICK_TEST_PICTURES");
    if (folder.isEmpty())
        return;
    EXPECT_TRUE(QDir().mkpath(folder));
    EXPECT_TRUE(window->grab().save(folder + u'/' + name + u".png"_s));
}
