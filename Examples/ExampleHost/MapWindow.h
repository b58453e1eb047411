#pragma once

#include <QMainWindow>

class MBWSWUpdateChecker;

/*! A map to draw on: each click sets a mark. */
class MapWindow : public QMainWindow
{
    Q_OBJECT

public:
    MapWindow();

    /*! Sets the marks that a file names: pairs of numbers, right and down. */
    void openMap(const QString &path);

    /*! Says in the status bar how a check for updates ends, where no panel does. */
    void showOutcomeOf(const MBWSWUpdateChecker &checker);
};
