// A library whose file the tests damage while it is loaded.

#include <csignal>

static void crashInside(volatile int *pointer) { *pointer = 1; }

extern "C" [[gnu::visibility("default")]] void crashInLibrary(int *pointer) { crashInside(pointer); }
