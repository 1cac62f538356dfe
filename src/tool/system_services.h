// The two services that every part of the system asks of the operating system in this one way: to
// sleep, and to say an error in words.
#ifndef QZ_TOOL_SYSTEM_SERVICES_H_
#define QZ_TOOL_SYSTEM_SERVICES_H_

#include "strings/string8.h"

// Sleeps `milliseconds`; below 1 it returns at once. Sleeps in chunks of 999 ms and a rest, which
// may be 0, so that every argument of usleep(3) stays below one million microseconds. A signal
// cuts the chunk short that it meets.
void qzSleep(int milliseconds);

// Returns the text of an error number, fit for a single line: "No Error." for 0, "Error 12345."
// for a number that the C library does not know. -1 stands for the current errno.
_qzString8_allSize<250> qzLastOSError8(int code);

#endif  // QZ_TOOL_SYSTEM_SERVICES_H_
