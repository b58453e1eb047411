#pragma once

/*! The panels that a host opens from its Help menu: each is shown, in light and dark, and each of their
    buttons pressed. False where anything did not happen as it should.
*/
bool playPanelsScene();
