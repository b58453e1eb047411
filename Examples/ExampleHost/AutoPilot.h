#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

class QWidget;

/*! Prints a line of the demo's. */
void say(const QString &text);

/*! Uses the application as a person would, for the demo on a machine without a display: looks at each window
    that comes up, saves a picture of it, and clicks.
*/
class AutoPilot : public QObject
{
    Q_OBJECT

public:
    /*! Pictures go into this folder, named after their windows. */
    explicit AutoPilot(const QString &pictureFolder);

private:
    void lookForWindows();
    void useCrashReport(QWidget *window);
    void savePicture(QWidget *window, const QString &name) const;

    const QString m_pictureFolder;
    QTimer m_timer;
    int m_looksAtReport = 0;
    bool m_hasSentReport = false;
};
