#pragma once

#include <QString>

// What a host may have done before it crashes. A name that is none of these conditions does nothing.

void applyBeforeInstalling(const QString &condition);
void applyAfterInstalling(const QString &condition);
