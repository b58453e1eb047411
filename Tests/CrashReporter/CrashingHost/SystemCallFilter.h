#pragma once

// Rules for the system calls of this process and of those that it starts, as a sandbox has them.

/*! The call of this number raises SIGSYS. */
void trapSystemCall(int number);

/*! The call of this number fails with EPERM. */
void refuseSystemCall(int number);
