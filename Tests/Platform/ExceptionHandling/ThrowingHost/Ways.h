#pragma once

#include <QString>

/*! Throws in the way of that name. Returns where the exception is caught, or where there is no such way. */
void throwInWay(const QString &name);
