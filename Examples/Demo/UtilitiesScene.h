#pragma once

/*! Each of the utilities in use: digests, hexadecimal text, encryption, the machine's address, checksums, a
    query. Prints what happens; false where anything did not happen as it should.
*/
bool playUtilitiesScene();
