#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

class QWidget;

class MBWSWUpdateChecker;
class UpdatePilot;

/*! Prints a line of the demo's. */
void say(const QString &text);

/*! Uses the application as a person would, for the demo on a machine without a display: looks at each window
    that comes up, saves a picture of it, and clicks.
*/
class AutoPilot : public QObject
{
    Q_OBJECT

public:
    /*! What it does in the application's own window. */
    enum class Plan { Close, ClickBeyondTheEdge };

    /*! Pictures go into this folder, named after their windows. */
    AutoPilot(const QString &pictureFolder, Plan plan);

    /*! Follows a check for updates, and answers its panel (see UpdatePilot). */
    void followUpdate(MBWSWUpdateChecker *checker, const QString &answer);

private:
    void lookForWindows();
    void useCrashReport(QWidget *window);
    void useMap(QWidget *window);
    void savePicture(QWidget *window, const QString &name) const;

    const QString m_pictureFolder;
    const Plan m_plan;
    QTimer m_timer;
    UpdatePilot *m_updatePilot = nullptr;
    int m_looksAtReport = 0;
    bool m_hasSentReport = false;
};
