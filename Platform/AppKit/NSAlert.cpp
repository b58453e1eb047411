#include "Platform/AppKit/NSAlert.h"

#include "Platform/AppKit/HidingBeforeQuit.h"
#include "Platform/AppKit/NSApplication.h"
#include "Platform/Foundation/NSLog.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QStyle>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

/*! Average characters to a line; a message box by itself wraps its text at half of that. */
constexpr int readableWidth = 55;

void addIcon(QMessageBox &box)
{
    const int size = box.style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, &box);
    const QIcon icon = QApplication::windowIcon();
    if (icon.isNull())
        box.setIcon(QMessageBox::Information);
    else
        box.setIconPixmap(icon.pixmap(QSize(size, size), box.devicePixelRatio()));
}

void addTexts(QMessageBox &box, const QString &messageText, const QString &informativeText)
{
    box.setWindowTitle(QGuiApplication::applicationDisplayName());
    box.setText(messageText);
    box.setInformativeText(informativeText);
    for (QLabel *const label : box.findChildren<QLabel *>()) {
        label->setTextFormat(Qt::PlainText);
        if (label->text() == informativeText)
            label->setMinimumWidth(readableWidth * label->fontMetrics().averageCharWidth());
        if (label->text() == messageText) {
            QFont font = label->font();
            font.setBold(true);
            label->setFont(font);
        }
    }
}

} // namespace

qint64 NSAlert::runModal() const
{
    NSApplication *const application = NSApplication::sharedApplication();
    if (!application) {
        NSLog(u"The alert is not shown, because a window needs a QApplication: make one before");
        return NSModalResponseAbort;
    }
    QMessageBox box;
    box.setAttribute(Qt::WA_QuitOnClose, false);
    addIcon(box);
    addTexts(box, m_messageText, m_informativeText);
    QList<QAbstractButton *> buttons;
    for (const QString &title : m_buttonTitles) {
        const auto role = buttons.isEmpty() ? QMessageBox::AcceptRole : QMessageBox::RejectRole;
        buttons.append(box.addButton(title, role));
    }
    if (!buttons.isEmpty()) {
        box.setDefaultButton(static_cast<QPushButton *>(buttons.first()));
        box.setEscapeButton(buttons.last());
    }
    new HidingBeforeQuit(&box);

    application->runModalForWindow(&box);
    const qsizetype answer = buttons.indexOf(box.clickedButton());
    return answer < 0 ? NSModalResponseAbort : NSAlertFirstButtonReturn + answer;
}

} // namespace Marblewick
