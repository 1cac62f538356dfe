// Compiled by two tests: with a capacity of the list it must compile, with another one it must not.
#include "strings/string8.h"

_qzString8_allSize<QZ_CAPACITY> text;
