#pragma once

#include <QObject>
#include <QUrl>

#include <functional>

class MBWSWUpdateChecker;

/*! Uses the panel that shows a new release as a person would, and says what came of it, for the demo on a
    machine without a display.
*/
class UpdatePilot : public QObject
{
    Q_OBJECT

public:
    using SavePicture = std::function<void(QWidget *window, const QString &name)>;

    /*! `answer` is what to do with the panel: "more-info", "download", "remind-later", "skip", or
        "in-page-link" and "outside-link" for a click into the release notes.
    */
    UpdatePilot(const QString &answer, SavePicture savePicture);

    /*! Follows the check that a checker has under way. */
    void follow(MBWSWUpdateChecker *checker);
    /*! Whether the check is over, and so is the panel. */
    bool isDone() const { return m_isDone; }
    /*! Looks at the panel, null while none is on the screen, and does the next thing. To be called several
        times a second.
    */
    void look(QWidget *panel);

public Q_SLOTS:
    /*! Takes the part of the user's browser. */
    void noteAddress(const QUrl &url);

private:
    void use(QWidget *panel, const QString &view);
    void answer(QWidget *panel);
    void press(QWidget *panel, const QString &button);
    void clickNotes(QWidget *panel, int row);

    const QString m_answer;
    const SavePicture m_savePicture;
    QString m_shownView;
    int m_looksAtView = 0;
    bool m_hasAnswered = false;
    bool m_isDone = false;
};
