#pragma once

#include <QString>

#include <functional>

/*! Runs a check in a child process that is not root, because file modes refuse root nothing. `folder` and
    what is in it is handed to the child's user first, with the modes it has.

    Returns the check's own result; a child that dies counts as a failure of the test.
*/
bool resultInUnprivilegedChild(const QString &folder, const std::function<bool()> &check);
