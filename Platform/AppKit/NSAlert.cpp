#include "Platform/AppKit/NSAlert.h"

#include "Platform/AppKit/HidingBeforeQuit.h"
#include "Platform/AppKit/LeadingAlignment.h"
#include "Platform/AppKit/NSApplication.h"
#include "Platform/Foundation/NSLog.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

/*! Average characters to a line. */
constexpr int readableWidth = 55;

QLabel *newLabel(const QString &objectName, const QString &text)
{
    auto *const label = new QLabel(text);
    label->setObjectName(objectName);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setMinimumWidth(readableWidth * label->fontMetrics().averageCharWidth());
    alignLeading(label);
    return label;
}

QLabel *newIcon(const QDialog &window)
{
    const QStyle *const style = window.style();
    const int size = style->pixelMetric(QStyle::PM_MessageBoxIconSize);
    QIcon icon = QApplication::windowIcon();
    if (icon.isNull())
        icon = style->standardIcon(QStyle::SP_MessageBoxInformation);
    auto *const label = new QLabel;
    label->setObjectName(u"icon"_s);
    label->setPixmap(icon.pixmap(QSize(size, size), window.devicePixelRatio()));
    return label;
}

/*! QMessageBox is not used: it wraps its text at half the width that reads well, and takes longer to come up.
 */
void layOut(QDialog &window, const QString &messageText, const QString &informativeText,
            QDialogButtonBox *buttons)
{
    window.setObjectName(u"Alert"_s);
    window.setWindowTitle(QGuiApplication::applicationDisplayName());
    // The title is only the application's name, and a screen reader tells of a window what it is named.
    window.setAccessibleName(messageText);
    window.setAccessibleDescription(informativeText);
    QLabel *const message = newLabel(u"messageText"_s, messageText);
    QFont font = message->font();
    font.setBold(true);
    message->setFont(font);
    auto *const layout = new QGridLayout(&window);
    layout->setContentsMargins(20, 20, 20, 20);
    layout->setHorizontalSpacing(16);
    layout->setVerticalSpacing(8);
    layout->addWidget(newIcon(window), 0, 0, 2, 1, Qt::AlignTop);
    layout->addWidget(message, 0, 1);
    layout->addWidget(newLabel(u"informativeText"_s, informativeText), 1, 1);
    layout->setRowMinimumHeight(2, 8);
    layout->addWidget(buttons, 3, 0, 1, 2);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

} // namespace

qint64 NSAlert::runModal() const
{
    NSApplication *const application = NSApplication::sharedApplication();
    if (!application) {
        NSLog(u"The alert is not shown, because a window needs a QApplication: make one before");
        return NSModalResponseAbort;
    }
    QDialog window;
    window.setAttribute(Qt::WA_QuitOnClose, false);
    auto *const buttons = new QDialogButtonBox;
    layOut(window, m_messageText, m_informativeText, buttons);

    qint64 answer = NSModalResponseAbort;
    qint64 lastAnswer = NSModalResponseAbort;
    for (const QString &title : m_buttonTitles) {
        const bool isFirst = lastAnswer == NSModalResponseAbort;
        lastAnswer = isFirst ? NSAlertFirstButtonReturn : lastAnswer + 1;
        QPushButton *const button = buttons->addButton(title, isFirst ? QDialogButtonBox::AcceptRole
                                                                      : QDialogButtonBox::RejectRole);
        button->setDefault(isFirst);
        QObject::connect(button, &QPushButton::clicked, &window, [&window, &answer, own = lastAnswer] {
            answer = own;
            window.hide();
        });
    }
    QObject::connect(&window, &QDialog::rejected, &window, [&] { answer = lastAnswer; });
    new HidingBeforeQuit(&window);

    application->runModalForWindow(&window);
    return answer;
}

} // namespace Marblewick
