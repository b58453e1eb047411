#pragma once

/*! Several launches of a host that is granted a file and a folder, and what becomes of the grants. Prints
   what happens; false where anything did not happen as it should.
*/
bool playSandboxScene();
