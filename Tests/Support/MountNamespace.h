#pragma once

/*! From now on what this process mounts is seen by itself and what it starts, and goes with them. Works as an
    ordinary user, too, who stays the same; false where the system lets nobody mount. Not with other threads.
*/
bool enterMountNamespace();
