#include "Tests/Support/Looks.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QStyleFactory>
#include <QWidget>

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

void keepPicture(QWidget *window, const QString &name)
{
    const QString folder = qEnvironmentVariable("MARBLEWICK_TEST_PICTURES");
    if (folder.isEmpty())
        return;
    EXPECT_TRUE(QDir().mkpath(folder));
    EXPECT_TRUE(window->grab().save(folder + u'/' + name + u".png"_s));
}
