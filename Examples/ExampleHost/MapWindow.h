#pragma once

#include <QMainWindow>

/*! A map to draw on: each click sets a mark. */
class MapWindow : public QMainWindow
{
    Q_OBJECT

public:
    MapWindow();
};
