#pragma once

#include <QString>

// What a host may have done before it crashes. A name that is none of these conditions does nothing.

void applyBeforeInstalling(const QString &condition);
void applyAfterInstalling(const QString &condition);

/*! Lets a file grow until its file system is full. */
void fillDisk(const QString &path);
