#pragma once

/*! A new release, with everything that the user can do about it; then no new release, and a server that is
    gone. Prints what happens; false where anything did not happen as it should.
*/
bool playUpdateScene();
